#include "ui/meeting/MeetingPage.h"

#include "ui/PlatformWords.h"
#include "ui/components/DeviceChip.h"
#include "ui/components/EmptyState.h"
#include "ui/components/KeyCap.h"
#include "ui/components/Label.h"
#include "ui/components/NoticeLine.h"
#include "ui/meeting/ElapsedClock.h"
#include "ui/meeting/MeetingFoot.h"
#include "ui/meeting/MeetingHead.h"
#include "ui/meeting/TranscriptView.h"

#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>
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

MeetingPage::MeetingPage(const Theme& shown, QWidget* parent)
    : QWidget(parent), theme(shown), clock(new ElapsedClock(this)), top(new MeetingHead(shown, this)),
      error(new NoticeLine(shown, NoticeLine::Kind::error, {}, this)),
      notice(new NoticeLine(shown, NoticeLine::Kind::warning, {}, this)),
      restored(new NoticeLine(shown, NoticeLine::Kind::info,
                              tr("Brought back from the last time the program ran. The recording is saved."), this)),
      lines(new TranscriptView(shown, this)), empty(new QScrollArea(this)),
      microphone(new DeviceChip(shown, QStringLiteral("microphone"), tr("Microphone"))),
      speaker(new DeviceChip(shown, QStringLiteral("speaker"), tr("Speaker"))), foot(new MeetingFoot(shown, this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(top);
    auto* notices = new QVBoxLayout;
    notices->setContentsMargins(32, 0, 32, 0);
    notices->setSpacing(0);
    for (NoticeLine* line : std::array{error, notice, restored}) {
        line->hide();
        notices->addWidget(line);
    }
    column->addLayout(notices);
    column->addWidget(lines, 1);
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
    notice->setClosable(true);
    connect(notice, &NoticeLine::closeRequested, this, &MeetingPage::noticeDismissed);
    connect(top, &MeetingHead::startRequested, this, &MeetingPage::startRequested);
    connect(top, &MeetingHead::pauseRequested, this, &MeetingPage::pauseRequested);
    connect(top, &MeetingHead::resumeRequested, this, &MeetingPage::resumeRequested);
    connect(top, &MeetingHead::stopRequested, this, &MeetingPage::stopRequested);
    connect(top, &MeetingHead::titleEdited, this, &MeetingPage::titleEdited);
    connect(clock, &ElapsedClock::changed, this, [this](const QString& text) {
        top->setElapsed(text);
        emit elapsedShown(isOpen(state.phase) ? text : QString(), isCapturing(state.phase));
    });
    show(MeetingState{});
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
    lines->setInterim(platformWords(state.interimLine));
    foot->show(state);
    showBody();
}

void MeetingPage::showNotices() {
    const auto put = [](NoticeLine& line, const QString& text) {
        if (line.text() != text) line.setText(text);
        line.setVisible(!text.isEmpty());
    };
    put(*error, state.phase == MeetingPhase::error ? platformWords(state.errorText) : QString());
    put(*notice, state.notice ? platformWords(*state.notice) : QString());
    restored->setVisible(state.restored);
    // Lines stand 16 from the head and 8 from each other.
    auto* layout = static_cast<QVBoxLayout*>(this->layout()->itemAt(1)->layout());
    const bool any = !error->isHidden() || !notice->isHidden() || !restored->isHidden();
    layout->setContentsMargins(32, any ? 16 : 0, 32, 0);
    layout->setSpacing(8);
}

void MeetingPage::showBody() {
    const bool nothing = lines->transcript().lines().empty() && !isOpen(state.phase);
    empty->setVisible(nothing);
    lines->setVisible(!nothing);
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
    lines->setLines(segments);
    showBody();
}

} // namespace tavrin
