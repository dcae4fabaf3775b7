#include "ui/meeting/MeetingPresenter.h"

#include "ui/meeting/MeetingPage.h"

#include <utility>

namespace tavrin {

namespace {

using Phase = MeetingStatus::Phase;

MeetingPhase phaseOf(Phase phase) {
    switch (phase) {
    case Phase::idle:
        return MeetingPhase::idle;
    case Phase::loadingModel:
        return MeetingPhase::loading;
    case Phase::recording:
        return MeetingPhase::recording;
    case Phase::processing:
        return MeetingPhase::processing;
    case Phase::paused:
        return MeetingPhase::paused;
    case Phase::error:
        return MeetingPhase::error;
    }
    return MeetingPhase::idle;
}

/// The most pressing of the warnings.
std::optional<std::string> noticeOf(const SessionState& state) {
    if (*state.saveNotice) return *state.saveNotice;
    if (*state.microphoneNotice) return *state.microphoneNotice;
    return *state.systemAudioNotice;
}

} // namespace

MeetingPresenter::MeetingPresenter(TranscriptionSession& observed, const AudioDevices& audioDevices, MeetingPage& shown)
    : session(observed), devices(audioDevices), page(shown) {
    connect(&page, &MeetingPage::startRequested, this, [this] { session.start(); });
    connect(&page, &MeetingPage::newRequested, this, [this] { session.start(); });
    connect(&page, &MeetingPage::pauseRequested, this, [this] { session.pauseRecording(); });
    connect(&page, &MeetingPage::resumeRequested, this, [this] { session.resume(); });
    connect(&page, &MeetingPage::stopRequested, this, [this] { session.stop(); });
    connect(&page, &MeetingPage::titleEdited, this,
            [this](const QString& title) { session.setTranscriptTitle(title.toStdString()); });
    connect(&page, &MeetingPage::noticeDismissed, this, [this] {
        dismissedNotice = noticeOf(session.state);
        refresh();
    });
    watch();
    page.setLines(*session.state.segments);
    refresh();
}

void MeetingPresenter::watch() {
    auto& state = session.state;
    const auto onChange = [this](auto& published) {
        subscriptions.push_back(published.observe([this](const auto&) { refresh(); }));
    };
    onChange(state.status);
    onChange(state.interimPartial);
    onChange(state.processingStatusMessage);
    onChange(state.transcriptTitle);
    onChange(state.meetingDate);
    onChange(state.systemAudioNotice);
    onChange(state.saveNotice);
    onChange(state.microphoneNotice);
    onChange(state.transcriptionBacklogSeconds);
    onChange(state.isRestored);
    subscriptions.push_back(state.segments.observe([this](const auto& lines) { page.setLines(lines); }));
    subscriptions.push_back(state.micAudioLevel.observe([this](float) { showLevels(); }));
    subscriptions.push_back(state.systemAudioLevel.observe([this](float) { showLevels(); }));
}

MeetingState MeetingPresenter::state() const {
    const SessionState& from = session.state;
    MeetingState shown;
    shown.phase = phaseOf(from.status->phase);
    shown.statusText = from.status->label();
    shown.errorText = from.status->message;
    shown.title = *from.transcriptTitle;
    shown.dateLine = *from.meetingDate;
    shown.startedAt = session.startedAt();
    shown.elapsedSeconds = session.activeRecordingDuration();
    shown.startEnabled = !session.isBusy();
    shown.interimLine = *from.interimPartial;
    shown.statusMessage = from.processingStatusMessage->value_or("");
    shown.notice = noticeOf(from);
    if (shown.notice == dismissedNotice) shown.notice.reset();
    shown.backlogSeconds = session.isCapturing() ? *from.transcriptionBacklogSeconds : 0;
    shown.restored = *from.isRestored;
    if (const auto input = devices.defaultInput()) shown.microphoneName = input->name;
    if (const auto output = devices.defaultOutput()) shown.speakerName = output->name;
    return shown;
}

void MeetingPresenter::refresh() {
    if (noticeOf(session.state) != dismissedNotice) dismissedNotice.reset();
    page.show(state());
    Q_EMIT changed();
}

void MeetingPresenter::showLevels() {
    page.setLevels(*session.state.micAudioLevel, *session.state.systemAudioLevel);
}

void MeetingPresenter::startOrStop() {
    session.isBusy() ? session.stop() : session.start();
}

void MeetingPresenter::pauseOrResume() {
    if (session.isCapturing())
        session.pauseRecording();
    else if (session.state.status->phase == Phase::paused)
        session.resume();
}

} // namespace tavrin
