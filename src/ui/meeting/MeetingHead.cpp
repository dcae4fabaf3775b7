#include "ui/meeting/MeetingHead.h"

#include "ui/PlatformWords.h"
#include "ui/components/BusyRing.h"
#include "ui/components/Button.h"
#include "ui/components/Label.h"
#include "ui/components/LevelMeter.h"
#include "ui/meeting/TitleField.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QPainter>
#include <array>

namespace tavrin {

namespace {

constexpr int metersWide = 176;
constexpr int metersNarrow = 136;
constexpr int narrowPage = 900;
constexpr int leastElapsed = 84;
constexpr int topOfMeters = 7;
constexpr int topOfButtons = 6;

} // namespace

MeetingHead::MeetingHead(const Theme& shown, QWidget* parent)
    : QWidget(parent), theme(shown), title(new TitleField(shown, tr("Title of the meeting"), this)),
      date(new Label(shown, TextStyle::caption, {}, Token::text2, this)), meters(new QWidget(this)),
      me(new LevelMeter(shown, Token::accent, tr("Level of your microphone"), meters)),
      them(new LevelMeter(shown, Token::them, tr("Level of the other participants"), meters)),
      elapsed(new Label(shown, TextStyle::numerals, {}, Token::text, this)),
      busy(new BusyRing(shown, tr("Finishing transcription"), this)),
      exporting(new Button(shown, Button::Kind::normal, tr("Export"), QStringLiteral("export"), this)),
      another(new Button(shown, Button::Kind::normal, tr("New"), QStringLiteral("plus"), this)),
      start(new Button(shown, Button::Kind::primary, tr("Start Recording"), QStringLiteral("record"), this)),
      pause(new Button(shown, Button::Kind::normal, tr("Pause"), QStringLiteral("pause"), this)),
      resume(new Button(shown, Button::Kind::primary, tr("Resume"), QStringLiteral("record"), this)),
      stop(new Button(shown, Button::Kind::red, tr("Stop"), QStringLiteral("stop"), this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(32, 20, 24, 17); // 16, and 1 for the line below
    row->setSpacing(24);
    auto* words = new QVBoxLayout;
    words->setSpacing(4);
    words->addWidget(title);
    words->addWidget(date);
    words->addStretch(1);
    row->addLayout(words, 1);
    addMeters(*row);
    addButtons(*row);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(title, &TitleField::titleEdited, this, &MeetingHead::titleEdited);
    another->setToolTip(tr("Record a new meeting"));
    another->setAccessibleDescription(another->toolTip());
    connect(exporting, &Button::clicked, this,
            [this] { emit exportRequested(exporting->mapToGlobal(QPoint(0, exporting->height() + 4))); });
    connect(another, &Button::clicked, this, &MeetingHead::newRequested);
    connect(start, &Button::clicked, this, &MeetingHead::startRequested);
    connect(pause, &Button::clicked, this, &MeetingHead::pauseRequested);
    connect(resume, &Button::clicked, this, &MeetingHead::resumeRequested);
    connect(stop, &Button::clicked, this, &MeetingHead::stopRequested);
    followTheme(*this, theme);
    connect(&theme, &Theme::changed, this, &MeetingHead::fitMeters);
}

void MeetingHead::addMeters(QHBoxLayout& row) {
    auto* grid = new QGridLayout(meters);
    grid->setContentsMargins(0, topOfMeters, 0, 0);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(8);
    int line = 0;
    for (const auto& [name, meter] : {std::pair{tr("Me"), me}, std::pair{tr("Them"), them}}) {
        auto* label = new Label(theme, TextStyle::caption, name, Token::text2, meters);
        label->setAlignment(Qt::AlignRight);
        grid->addWidget(label, line, 0);
        grid->addWidget(meter, line, 1);
        ++line;
    }
    grid->setColumnMinimumWidth(0, 32);
    grid->setColumnStretch(1, 1);
    row.addWidget(meters, 0, Qt::AlignTop);
}

void MeetingHead::addButtons(QHBoxLayout& row) {
    auto* right = new QHBoxLayout;
    right->setContentsMargins(0, topOfButtons, 0, 0);
    right->setSpacing(16);
    elapsed->setTabular(true);
    elapsed->setAlignment(Qt::AlignRight);
    elapsed->setAccessibleName(tr("Elapsed time"));
    elapsed->setMinimumWidth(leastElapsed);
    elapsed->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed); // a time is never cut
    right->addWidget(elapsed, 0, Qt::AlignVCenter);
    right->addWidget(busy, 0, Qt::AlignVCenter);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    for (Button* button : std::array{exporting, another, start, pause, resume, stop})
        buttons->addWidget(button);
    right->addLayout(buttons);
    row.addLayout(right);
    row.setAlignment(right, Qt::AlignTop);
}

void MeetingHead::show(const MeetingState& newState) {
    state = newState;
    const bool open = isOpen(state.phase);
    const bool editable = state.titleEditable && (open || !state.title.empty());
    title->setReadOnly(!editable);
    title->setFocusPolicy(editable ? Qt::StrongFocus : Qt::NoFocus);
    title->setPlaceholderText(open ? tr("Untitled meeting") : tr("New meeting"));
    title->showTitle(QString::fromStdString(state.title));
    date->setText(platformWords(state.dateLine));
    meters->setVisible(isCapturing(state.phase));
    elapsed->setVisible(open || state.elapsedSeconds > 0);
    busy->setVisible(state.phase == MeetingPhase::processing);
    showButtons();
}

void MeetingHead::setHasLines(bool has) {
    if (hasLines == has) return;
    hasLines = has;
    showButtons();
}

void MeetingHead::showButtons() {
    QWidget* const focused = focusWidget();
    const bool hadFocus = focused && focused->hasFocus() && qobject_cast<Button*>(focused);
    const bool open = isOpen(state.phase);
    const bool ended = state.phase == MeetingPhase::idle && hasLines;
    exporting->setVisible(!open && hasLines);
    another->setVisible(ended);
    another->setEnabled(state.startEnabled);
    start->setVisible(!open && !ended);
    start->setEnabled(state.startEnabled);
    pause->setVisible(isCapturing(state.phase));
    resume->setVisible(state.phase == MeetingPhase::paused);
    stop->setVisible(open);
    stop->setEnabled(state.stopEnabled);
    // Who pressed a button by keyboard goes on with the one that took its place.
    if (hadFocus && !focused->isVisibleTo(this)) firstButton().setFocus(Qt::OtherFocusReason);
}

QWidget& MeetingHead::firstButton() const {
    for (Button* button : std::array{another, start, pause, resume})
        if (button->isVisibleTo(this)) return *button;
    return *stop;
}

void MeetingHead::setElapsed(const QString& text) {
    elapsed->setText(text);
    elapsed->setAccessibleDescription(text); // what the label says is hidden from assistive technology by its name
}

void MeetingHead::setLevels(float meLevel, float themLevel) {
    me->setLevel(meLevel);
    them->setLevel(themLevel);
}

void MeetingHead::pinLevels(float meLevel, float meMark, float themLevel, float themMark) {
    me->pin(meLevel, meMark);
    them->pin(themLevel, themMark);
}

void MeetingHead::startOrStop() {
    if (start->isVisibleTo(this))
        start->click();
    else if (another->isVisibleTo(this))
        another->click();
    else
        stop->click();
}

void MeetingHead::pauseOrResume() {
    if (pause->isVisibleTo(this))
        pause->click();
    else if (resume->isVisibleTo(this))
        resume->click();
}

void MeetingHead::fitMeters() {
    const bool cramped = theme.fontScale() > 1.2 && width() < narrowPage * theme.fontScale();
    elapsed->setStyle(cramped ? TextStyle::section : TextStyle::numerals);
    const int wide = width() < narrowPage * theme.fontScale() ? metersNarrow : metersWide;
    meters->setFixedWidth(theme.fontScale() > 1 ? qRound(wide * (1 + (theme.fontScale() - 1) / 3)) : wide);
}

void MeetingHead::resizeEvent(QResizeEvent* /*event*/) {
    fitMeters();
}

void MeetingHead::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(0, height() - 1, width(), 1, theme.color(Token::line));
}

} // namespace tavrin
