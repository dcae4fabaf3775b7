#include "ui/MainWindow.h"

#include "ui/EmptyPage.h"
#include "ui/ModelSetupSheet.h"
#include "ui/components/FocusRing.h"
#include "ui/home/HomePage.h"
#include "ui/meeting/MeetingHead.h"
#include "ui/meeting/MeetingPage.h"
#include "ui/meeting/TranscriptPane.h"
#include "ui/meeting/TranscriptWindow.h"
#include "ui/settings/SettingsPage.h"

#include <QAction>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QIcon>
#include <QPainter>
#include <QStackedWidget>
#include <algorithm>

namespace tavrin {

namespace {

constexpr QSize usualSize(1120, 760);
constexpr QSize leastSize(900, 620);
constexpr int wideFrom = 1000;

} // namespace

MainWindow::MainWindow(const Theme& shown)
    : theme(shown), bar(new SideBar(shown, this)), pages(new QStackedWidget(this)), home(new HomePage(shown)),
      meeting(new MeetingPage(shown)), settings(new SettingsPage(shown)), setup(new ModelSetupSheet(shown, *this)),
      transcript(std::make_unique<TranscriptWindow>(shown, meeting->lines())) {
    setWindowTitle(tr("Tavrin Assistant"));
    QIcon icon;
    icon.addPixmap(theme.icon(QStringLiteral("app-16"), 16, theme.color(Token::text), 1));
    for (const int size : {24, 32, 48, 128})
        icon.addPixmap(theme.icon(QStringLiteral("app"), size, theme.color(Token::text), 1));
    setWindowIcon(icon);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(bar);
    row->addWidget(pages, 1);
    addPages();
    addKeys();
    joinTranscript();
    new FocusRing(theme, *this);
    setMinimumSize(leastSize);
    resize(usualSize);
    connect(&theme, &Theme::changed, this, &MainWindow::fit);
    followTheme(*this, theme);
}

MainWindow::~MainWindow() = default;

/// What is done in one of the two views of the transcript counts in the other.
void MainWindow::joinTranscript() {
    TranscriptPane& inPage = meeting->transcript();
    TranscriptPane& inWindow = transcript->pane();
    transcript->setWindowIcon(windowIcon());
    connect(meeting, &MeetingPage::shown, transcript.get(), qOverload<const MeetingState&>(&TranscriptWindow::show));
    connect(meeting, &MeetingPage::windowRequested, this, &MainWindow::openTranscript);
    connect(&inPage, &TranscriptPane::zoomChanged, &inWindow, &TranscriptPane::setZoom);
    connect(&inWindow, &TranscriptPane::zoomChanged, &inPage, [&inPage](double factor) {
        inPage.setZoom(factor);
        emit inPage.zoomChanged(factor);
    });
    connect(&inWindow, &TranscriptPane::correctionSaved, &inPage, &TranscriptPane::correctionSaved);
    connect(&inWindow, &TranscriptPane::correctionChanged, &inPage, &TranscriptPane::correctionChanged);
    connect(&inWindow, &TranscriptPane::correctionDeleted, &inPage, &TranscriptPane::correctionDeleted);
    inWindow.setCorrectionLookup([&inPage](const QString& phrase) { return inPage.known(phrase); });
}

void MainWindow::openTranscript() {
    transcript->pane().setZoom(meeting->transcript().zoom());
    transcript->raiseToFront();
}

void MainWindow::addPages() {
    pages->addWidget(home);
    pages->addWidget(new EmptyPage(theme, Section::today));
    pages->addWidget(meeting);
    pages->addWidget(new EmptyPage(theme, Section::screenRecording));
    pages->addWidget(new EmptyPage(theme, Section::notes));
    pages->addWidget(new EmptyPage(theme, Section::dictation));
    pages->addWidget(new EmptyPage(theme, Section::activity));
    pages->addWidget(settings);
    bar->setAccount({}, tr("Add a token in Settings"));
    connect(bar, &SideBar::sectionChosen, this, &MainWindow::showSection);
    connect(bar, &SideBar::accountChosen, this, [this] { showSection(Section::settings); });
    connect(meeting, &MeetingPage::elapsedShown, bar, &SideBar::setLiveTime);
    connect(meeting, &MeetingPage::shown, home, qOverload<const MeetingState&>(&HomePage::show));
    connect(home, &HomePage::meetingRequested, this, [this] { showSection(Section::meeting); });
    connect(home, &HomePage::startRequested, this, [this] {
        showSection(Section::meeting);
        meeting->head().startOrStop();
    });
}

void MainWindow::addKey(const QKeySequence& keys, const QString& name, const std::function<void()>& act) {
    auto* action = new QAction(name, this);
    action->setShortcut(keys);
    action->setAutoRepeat(false);
    addAction(action);
    // What a sheet covers does not answer to keys either.
    connect(action, &QAction::triggered, this, [this, act] {
        if (!isCovered(*this)) act();
    });
}

void MainWindow::addKeys() {
    for (int i = 0; i < sectionCount; ++i) {
        const auto target = static_cast<Section>(i);
        addKey(QKeySequence(QKeyCombination(Qt::ControlModifier, Qt::Key(Qt::Key_1 + i))), sectionName(target),
               [this, target] { showSection(target); });
    }
    addKey(QKeySequence(QStringLiteral("Ctrl+,")), tr("Settings"), [this] { showSection(Section::settings); });
    addKey(QKeySequence(QStringLiteral("Ctrl+R")), tr("Start or stop recording"), [this] {
        showSection(Section::meeting);
        meeting->head().startOrStop();
    });
    addKey(QKeySequence(QStringLiteral("Ctrl+P")), tr("Pause or resume recording"),
           [this] { meeting->head().pauseOrResume(); });
    addKey(QKeySequence(QStringLiteral("Ctrl+Shift+T")), tr("Show the transcript in its own window"),
           [this] { openTranscript(); });
    auto* quit = new QAction(tr("Quit"), this);
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    addAction(quit);
    connect(quit, &QAction::triggered, this, &MainWindow::quitRequested);
}

Section MainWindow::section() const {
    return static_cast<Section>(pages->currentIndex());
}

void MainWindow::showSection(Section wanted) {
    bar->setCurrent(wanted);
    if (section() == wanted) return;
    pages->setCurrentIndex(static_cast<int>(wanted));
    emit sectionShown(wanted);
}

void MainWindow::raiseToFront() {
    if (isMinimized())
        showNormal();
    else
        show();
    raise();
    activateWindow();
}

void MainWindow::fit() {
    // Larger type needs a larger window before the names of the sections have room.
    bar->setCompact(width() < wideFrom * std::clamp(theme.fontScale(), 1.0, 1.6));
}

void MainWindow::resizeEvent(QResizeEvent* /*event*/) {
    fit();
}

void MainWindow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme.color(Token::window));
}

void MainWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    hide();
    emit hiddenByUser();
}

} // namespace tavrin
