#include "ui/meeting/MeetingPage.h"

#include "ui/PlatformWords.h"
#include "ui/components/Button.h"
#include "ui/components/DeviceChip.h"
#include "ui/components/EmptyState.h"
#include "ui/components/KeyCap.h"
#include "ui/components/Label.h"
#include "ui/components/NoticeLine.h"
#include "ui/meeting/ElapsedClock.h"
#include "ui/meeting/MeetingFoot.h"
#include "ui/meeting/MeetingHead.h"
#include "ui/meeting/TranscriptSaver.h"
#include "ui/meeting/TranscriptView.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QMenu>
#include <QScrollArea>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

namespace tavrin {

namespace {

QWidget* startHint(const Theme& theme) {
    auto* hint = new QWidget;
    auto* row = new QHBoxLayout(hint);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(new KeyCap(theme, {QStringLiteral("Ctrl"), QStringLiteral("R")}, hint));
    row->addWidget(new Label(theme, TextStyle::caption,
                             MeetingPage::tr("starts and stops, from anywhere in the window"), Token::text2, hint));
    return hint;
}

QWidget* deviceRow(DeviceChip& microphone, DeviceChip& speaker) {
    auto* devices = new QWidget;
    auto* row = new QHBoxLayout(devices);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(&microphone);
    row->addWidget(&speaker);
    return devices;
}

} // namespace

MeetingPage::MeetingPage(const Theme& look, QWidget* parent)
    : QWidget(parent), theme(look), clock(new ElapsedClock(this)), top(new MeetingHead(look, this)),
      error(new NoticeLine(look, NoticeLine::Kind::error, {}, this)),
      notice(new NoticeLine(look, NoticeLine::Kind::warning, {}, this)),
      restored(new NoticeLine(look, NoticeLine::Kind::info,
                              tr("Brought back from the last time the program ran. The recording is saved."), this)),
      saveFailed(new NoticeLine(look, NoticeLine::Kind::error, {}, this)),
      savedTo(new NoticeLine(look, NoticeLine::Kind::info, {}, this)), shownLines(new TranscriptLines(this)),
      tools(new QWidget(this)), find(new Button(look, Button::Kind::quiet, QStringLiteral("search"),
                                                tr("Find in the transcript"), Button::Size::normal, tools)),
      apart(new Button(look, Button::Kind::quiet, QStringLiteral("screen"), tr("Show the transcript in its own window"),
                       Button::Size::normal, tools)),
      pane(new TranscriptPane(look, *shownLines, this)), saver(new TranscriptSaver(this)), empty(new QScrollArea(this)),
      microphone(new DeviceChip(look, QStringLiteral("microphone"), tr("Microphone"))),
      speaker(new DeviceChip(look, QStringLiteral("speaker"), tr("Speaker"))), foot(new MeetingFoot(look, this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(top);
    addNotices(*column);
    column->addWidget(pane, 1);
    column->addWidget(empty, 1);
    column->addWidget(foot);
    auto* ready = new EmptyState(theme, QStringLiteral("waveform"), tr("Ready to record"),
                                 tr("Transcript will appear here while recording.\nYour microphone and this computer’s "
                                    "sound are saved from the first second."));
    ready->add(deviceRow(*microphone, *speaker), 20);
    ready->add(startHint(theme), 16);
    empty->setFrameShape(QFrame::NoFrame);
    empty->setFocusPolicy(Qt::NoFocus);
    empty->setWidgetResizable(true);
    empty->setWidget(ready);
    addTools();
    joinHead();
    joinExport();
    show(MeetingState{});
}

void MeetingPage::addNotices(QBoxLayout& column) {
    auto* notices = new QVBoxLayout;
    notices->setContentsMargins(32, 0, 32, 0);
    notices->setSpacing(8);
    for (NoticeLine* line : std::array{error, notice, restored, saveFailed, savedTo}) {
        line->hide();
        notices->addWidget(line);
    }
    column.addLayout(notices);
    for (NoticeLine* line : std::array{notice, saveFailed, savedTo})
        line->setClosable(true);
    connect(notice, &NoticeLine::closeRequested, this, &MeetingPage::noticeDismissed);
    for (NoticeLine* line : std::array{saveFailed, savedTo})
        connect(line, &NoticeLine::closeRequested, this, [this, line] {
            line->setText({});
            showNotices();
        });
}

/// Beside the text, where it is free: search and the window of its own.
void MeetingPage::addTools() {
    auto* row = new QBoxLayout(QBoxLayout::LeftToRight, tools);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    for (Button* button : std::array{find, apart}) {
        button->setInk(Token::text2);
        row->addWidget(button);
    }
    connect(find, &Button::clicked, pane, &TranscriptPane::openFind);
    connect(apart, &Button::clicked, this, &MeetingPage::windowRequested);
    connect(&theme, &Theme::changed, this, &MeetingPage::placeTools);
    pane->installEventFilter(this);
    pane->view().installEventFilter(this);
}

bool MeetingPage::eventFilter(QObject* watched, QEvent* event) {
    const auto kind = event->type();
    if (kind == QEvent::Resize || kind == QEvent::Move || kind == QEvent::Show || kind == QEvent::Hide) placeTools();
    return QWidget::eventFilter(watched, event);
}

/// Large type leaves less room beside the text: one above the other, then only by key and menu.
void MeetingPage::placeTools() {
    constexpr int fromTop = 8;
    constexpr int fromRight = 24;
    TranscriptView& view = pane->view();
    const int room = view.viewport()->width() - view.textEnd() - fromRight;
    auto& row = static_cast<QBoxLayout&>(*tools->layout());
    const bool beside = 2 * find->sizeHint().width() + row.spacing() <= room;
    row.setDirection(beside ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    tools->adjustSize();
    const QPoint corner = view.mapTo(this, QPoint(view.width(), 0));
    tools->move(corner.x() - tools->width() - fromRight, corner.y() + fromTop);
    tools->setVisible(pane->isVisibleTo(this) && find->sizeHint().width() <= room);
    tools->raise();
}

void MeetingPage::joinHead() {
    connect(top, &MeetingHead::startRequested, this, &MeetingPage::startRequested);
    connect(top, &MeetingHead::pauseRequested, this, &MeetingPage::pauseRequested);
    connect(top, &MeetingHead::resumeRequested, this, &MeetingPage::resumeRequested);
    connect(top, &MeetingHead::stopRequested, this, &MeetingPage::stopRequested);
    connect(top, &MeetingHead::newRequested, this, &MeetingPage::newRequested);
    connect(top, &MeetingHead::titleEdited, this, &MeetingPage::titleEdited);
    connect(top, &MeetingHead::exportRequested, this, &MeetingPage::openExportMenu);
    connect(clock, &ElapsedClock::changed, this, [this](const QString& text) {
        top->setElapsed(text);
        emit elapsedShown(isOpen(state.phase) ? text : QString(), isCapturing(state.phase));
    });
}

void MeetingPage::joinExport() {
    connect(&pane->view(), &TranscriptView::menuRequested, this, [this](QMenu& menu) {
        menu.addSeparator();
        auto* formats = menu.addMenu(tr("Export"));
        formats->setEnabled(!shownLines->empty());
        fillExportMenu(*formats);
        menu.addAction(tr("Show in its own window"), this, &MeetingPage::windowRequested);
    });
    const auto tell = [this](NoticeLine& line, const QString& text) {
        saveFailed->setText({});
        savedTo->setText({});
        line.setText(text);
        showNotices();
    };
    connect(saver, &TranscriptSaver::saved, this,
            [this, tell](const QString& path) { tell(*savedTo, tr("The transcript was saved to %1.").arg(path)); });
    connect(saver, &TranscriptSaver::failed, this, [this, tell](const QString& text) { tell(*saveFailed, text); });
}

void MeetingPage::openExportMenu(QPoint at) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillExportMenu(*menu);
    menu->popup(at);
}

void MeetingPage::fillExportMenu(QMenu& menu) {
    const std::pair<QString, TranscriptFormat> formats[] = {{tr("Text"), TranscriptFormat::text},
                                                            {tr("Markdown"), TranscriptFormat::markdown},
                                                            {tr("Subtitles (SRT)"), TranscriptFormat::srt}};
    for (const auto& [name, format] : formats)
        menu.addAction(name, this, [this, wanted = format] {
            TranscriptSaver::Transcript transcript{.title = state.title};
            for (const auto& line : shownLines->all())
                transcript.lines.push_back(line.segment);
            if (transcript.lines.empty()) return;
            transcript.start = state.startedAt.value_or(transcript.lines.front().date);
            saver->ask(*window(), std::move(transcript), wanted);
        });
}

void MeetingPage::show(const MeetingState& newState) {
    const bool phaseChanged = newState.phase != state.phase;
    state = newState;
    top->show(state);
    clock->set(state.elapsedSeconds, isCapturing(state.phase));
    top->setElapsed(clock->text());
    if (phaseChanged) emit elapsedShown(isOpen(state.phase) ? clock->text() : QString(), isCapturing(state.phase));
    if (!isCapturing(state.phase)) top->setLevels(0, 0);
    showNotices();
    pane->view().setInterim(platformWords(state.interimLine));
    foot->show(state);
    showBody();
    emit shown(state);
}

void MeetingPage::showNotices() {
    const auto put = [](NoticeLine& line, const QString& text) {
        if (line.text() != text) line.setText(text);
        line.setVisible(!text.isEmpty());
    };
    put(*error, state.phase == MeetingPhase::error ? platformWords(state.errorText) : QString());
    put(*notice, state.notice ? platformWords(*state.notice) : QString());
    restored->setVisible(state.restored);
    saveFailed->setVisible(!saveFailed->text().isEmpty());
    savedTo->setVisible(!savedTo->text().isEmpty());
    // Lines stand 16 from the head and 8 from each other.
    const std::array all{error, notice, restored, saveFailed, savedTo};
    const bool any = std::ranges::any_of(all, [](const NoticeLine* line) { return !line->isHidden(); });
    layout()->itemAt(1)->layout()->setContentsMargins(32, any ? 16 : 0, 32, 0);
}

void MeetingPage::showBody() {
    const bool nothing = shownLines->empty() && !isOpen(state.phase);
    empty->setVisible(nothing);
    pane->setVisible(!nothing);
    placeTools();
    const auto name = [](DeviceChip& chip, const std::string& device) {
        chip.setText(QString::fromStdString(device));
        chip.setVisible(!device.empty());
    };
    name(*microphone, state.microphoneName);
    name(*speaker, state.speakerName);
    microphone->parentWidget()->setVisible(!state.microphoneName.empty() || !state.speakerName.empty());
}

void MeetingPage::setLevels(float me, float them) {
    top->setLevels(me, them);
}

void MeetingPage::setLines(const std::vector<TranscriptSegment>& segments) {
    shownLines->setLines(segments);
    top->setHasLines(!shownLines->empty());
    showBody();
}

} // namespace tavrin
