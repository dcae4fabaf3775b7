#include "meeting/TranscriptionSession.h"

#include "audio/PcmFormat.h"
#include "meeting/MeetingDates.h"
#include "meeting/MeetingId.h"
#include "meeting/MeetingMessages.h"
#include "meeting/RecoverableMeetings.h"
#include "support/async/Race.h"
#include "support/async/RunOn.h"
#include "support/async/Sleep.h"
#include "support/files/FileError.h"
#include "support/log/Log.h"
#include "support/text/Unicode.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace tavrin {

namespace {

using Phase = MeetingStatus::Phase;

constexpr Logger log{"TranscriptionSession"};

/// Sets a flag for as long as it lives.
class Flagged final {
public:
    explicit Flagged(bool& flagToSet) : flag(flagToSet) { flag = true; }
    Flagged(const Flagged&) = delete;
    Flagged& operator=(const Flagged&) = delete;
    ~Flagged() { flag = false; }

private:
    bool& flag;
};

bool isBlank(std::string_view text) {
    return trimmed(text).empty();
}

} // namespace

TranscriptionSession::TranscriptionSession(Dependencies dependencies)
    : state(dependencies.capture.main), use(std::move(dependencies)),
      transcript({.main = use.capture.main,
                  .background = use.background,
                  .vocabulary = use.vocabulary,
                  .note = [&to = use.capture.diagnostics](std::string line) { to.log(std::move(line)); }},
                 state, meeting),
      capture(use.capture, state, meeting, transcript), tasks(use.capture.main) {}

TranscriptionSession::~TranscriptionSession() = default;

// Start

bool TranscriptionSession::mayBeginAnew() const {
    return !isCapturing() && state.status->phase != Phase::processing && !isStopping;
}

Task<void> TranscriptionSession::startRecording() {
    expectCurrent(use.capture.main);
    if (!mayBeginAnew() || isStarting() || (use.isDictationBusy && use.isDictationBusy())) co_return;
    const auto underWay = std::make_shared<const char>();
    startUnderWay = underWay;
    if (!co_await checkPrerequisites() || !mayBeginAnew()) co_return;
    resetMeeting();
    openMeeting();
    switch (co_await capture.startLiveCapture(true)) {
    case LiveCapture::Started::live:
        startCheckpoints();
        break;
    case LiveCapture::Started::failed:
        co_await undoStart();
        break;
    case LiveCapture::Started::superseded:
        break;
    }
}

Task<bool> TranscriptionSession::checkPrerequisites() {
    auto& models = use.capture.models;
    if (std::holds_alternative<WhisperModelService::Checking>(*models.state)) co_await models.refresh();
    if (!std::holds_alternative<WhisperModelService::Ready>(*models.state)) {
        state.showWhisperModelSetup = true;
        co_return false;
    }
    const auto token = co_await use.loadAPIToken();
    if (!token || isBlank(*token)) {
        state.status = MeetingStatus::error(std::string(messages::tokenMissing));
        co_return false;
    }
    if (!co_await use.requestMicrophoneAccess()) {
        state.status = MeetingStatus::error(std::string(messages::microphoneDenied));
        co_return false;
    }
    co_return true;
}

void TranscriptionSession::resetMeeting() {
    transcript.clear();
    state.interimPartial = "";
    state.processingStatusMessage = std::nullopt;
    state.systemAudioNotice = std::nullopt;
    state.saveNotice = std::nullopt;
    state.microphoneNotice = std::nullopt;
    state.transcriptTitle = "";
    state.viewingHistoryMeetingID = std::nullopt;
    state.isRestored = false;
    state.systemAudioActive = false;
    state.transcriptionBacklogSeconds = 0;
    if (meeting.persistence) tasks.spawn(saveLeft(meeting.persistence));
    meeting = {.transcriptWorkGeneration = meeting.transcriptWorkGeneration};
    capture.resetMeters();
}

void TranscriptionSession::openMeeting() {
    const Date now = use.capture.clock.now();
    state.status = MeetingStatus{.phase = Phase::loadingModel};
    meeting.sessionRecordedAt = now;
    state.meetingDate = meetingDateText(now);
    meeting.meetingID = newMeetingID();
    meeting.persistence = openPersistence(*meeting.meetingID);
    if (!meeting.persistence) state.saveNotice = std::string(messages::noArchive);
    use.capture.diagnostics.startMeeting(*meeting.meetingID);
    capture.clearFrameCounters();
    // A crash before the first minute is over finds the meeting by this.
    tasks.spawn([this] -> Task<void> { co_await writeCheckpoint(); });
}

std::shared_ptr<TranscriptPersistence> TranscriptionSession::openPersistence(const std::string& meetingID) {
    try {
        return std::make_shared<TranscriptPersistence>(use.applicationSupport, meetingID, use.capture.main, use.storage,
                                                       [this, meetingID](bool cannotSave) {
                                                           if (meeting.meetingID == meetingID) tellSaving(cannotSave);
                                                       });
    } catch (const FileError& error) {
        log.error("a meeting has no archive: {}", error.what());
        return nullptr;
    }
}

void TranscriptionSession::tellSaving(bool cannotSave) {
    const double lost = meeting.persistence ? meeting.persistence->lostSeconds() : 0;
    if (cannotSave)
        state.saveNotice = std::string(messages::cannotSave);
    else if (lost > 0)
        state.saveNotice = messages::soundLost(lost);
    else
        state.saveNotice = std::nullopt;
}

/// A start that came to nothing leaves nothing, unless something was said meanwhile.
Task<void> TranscriptionSession::undoStart() {
    const auto persistence = std::exchange(meeting.persistence, nullptr);
    if (persistence) {
        const auto worth = [](const std::shared_ptr<PcmArchive>& archive) {
            return static_cast<std::int64_t>(archive->sampleCount()) >= leastSamples;
        };
        if (worth(persistence->micPCM()) || worth(persistence->themPCM())) {
            meeting.persistence = persistence;
            defaultTitle();
            co_await writeCheckpoint();
            tasks.spawn(saveLeft(persistence));
        } else {
            persistence->deleteAll();
        }
    }
    use.capture.diagnostics.endMeeting();
    meeting = {.transcriptWorkGeneration = meeting.transcriptWorkGeneration};
    if (state.status->phase == Phase::loadingModel) state.status = MeetingStatus{};
}

/// What a meeting that is left still holds in memory goes to the disk when that takes it.
Task<void> TranscriptionSession::saveLeft(std::shared_ptr<TranscriptPersistence> left) {
    while (!co_await left->flush()) {
    }
}

// Pause and resume

void TranscriptionSession::pauseRecording() {
    expectCurrent(use.capture.main);
    if (!isCapturing()) return;
    meeting.activeTime.closeActiveStretch(use.capture.clock.now());
    checkpointTask.cancel();
    defaultTitle();
    beginProcessing(MeetingStatus{.phase = Phase::paused});
}

void TranscriptionSession::beginProcessing(std::optional<MeetingStatus> then) {
    startUnderWay.reset();
    meeting.transcribed = capture.transcribedSamples();
    EndedLanes lanes = capture.end();
    meeting.isDraining = true; // results that are on their way count from now on
    state.interimPartial = std::string(messages::finishingTranscript);
    state.processingStatusMessage = std::string(messages::finishingTranscript);
    state.status = MeetingStatus{.phase = Phase::processing};
    processingActivity.reset();
    processingActivity = use.powerActivity.begin(std::string(messages::finishingActivity));
    processingDrainTask = tasks.spawn(drain(std::move(lanes), std::move(then)));
}

Task<void> TranscriptionSession::drain(EndedLanes lanes, std::optional<MeetingStatus> then) {
    const std::uint64_t generation = meeting.transcriptWorkGeneration;
    const auto id = meeting.meetingID;
    const LaneCounts base = lanes.base;
    const DrainCounts counts = co_await drainLanes(std::move(lanes), meeting, transcript);
    if (generation != meeting.transcriptWorkGeneration || id != meeting.meetingID) {
        use.capture.diagnostics.log("archive_drain_aborted stale_generation");
        co_return;
    }
    use.capture.diagnostics.log(fmt::format(
        "archive_drain_metrics meTranscribed={} themTranscribed={} meDropped={} themDropped={} mePending={} "
        "themPending={} meOffset={} themOffset={}",
        counts.transcribed.me - base.me, counts.transcribed.them - base.them, counts.dropped.me, counts.dropped.them,
        counts.pending.me, counts.pending.them, base.me, base.them));
    meeting.transcribed = counts.transcribed;
    co_await writeCheckpoint();
    if (generation != meeting.transcriptWorkGeneration || id != meeting.meetingID) co_return;
    if (state.status->phase != Phase::processing) co_return;
    if (then) state.status = *then;
    state.interimPartial = "";
    state.processingStatusMessage = std::nullopt;
    state.transcriptionBacklogSeconds = 0;
    processingActivity.reset();
}

Task<void> TranscriptionSession::resumeRecording() {
    expectCurrent(use.capture.main);
    if (state.status->phase != Phase::paused || isStarting() || isStopping || capture.isOpening()) co_return;
    const auto& engines = use.capture.engines;
    if (!engines.largeEngineLoaded() && !engines.smallEngineLoaded())
        state.status = MeetingStatus{.phase = Phase::loadingModel};
    state.systemAudioNotice = std::nullopt;
    switch (co_await capture.startLiveCapture(false)) {
    case LiveCapture::Started::live:
        startCheckpoints();
        break;
    case LiveCapture::Started::failed:
        state.status = MeetingStatus{.phase = Phase::paused};
        break;
    case LiveCapture::Started::superseded:
        break;
    }
}

// Stop

Task<void> TranscriptionSession::stopRecording() {
    expectCurrent(use.capture.main);
    const Phase phase = state.status->phase;
    if (!isCapturing() && phase != Phase::processing && phase != Phase::paused) co_return;
    if (isStopping) co_return;
    const Flagged stopping(isStopping);
    if (isCapturing()) {
        meeting.activeTime.closeActiveStretch(use.capture.clock.now());
        checkpointTask.cancel();
        defaultTitle();
        beginProcessing(std::nullopt);
    } else if (capture.isOpening()) {
        capture.end(); // a resume that has no device yet
    }
    if (!co_await waitForArchiveDrain()) giveUpDrain();
    state.isRecoveringArchivedTranscript = false;
    defaultTitle();
    co_await race(writeCheckpoint(), PcmArchive::mostFlushTime); // a disk that hangs keeps nobody from ending
    if (meeting.persistence) co_await meeting.persistence->flush();
    finishRecording();
    use.capture.diagnostics.endMeeting();
    use.capture.engines.resumeBackgroundMeetingModelLoadAfterMeeting();
}

Task<bool> TranscriptionSession::waitForArchiveDrain() {
    if (!processingDrainTask.isActive()) co_return true;
    co_return (co_await race(processingDrainTask.completion(), drainBudget())).has_value();
}

Duration TranscriptionSession::drainBudget() const {
    std::uint64_t samples = 0;
    if (meeting.persistence)
        samples = std::max(meeting.persistence->micPCM()->sampleCount(), meeting.persistence->themPCM()->sampleCount());
    const double seconds = std::clamp((static_cast<double>(samples) / pcmSampleRate * 3) + 20, 45.0, 900.0);
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds));
}

void TranscriptionSession::giveUpDrain() {
    use.capture.diagnostics.log(fmt::format("archive_drain_timeout budgetSeconds={}",
                                            std::chrono::duration_cast<std::chrono::seconds>(drainBudget()).count()));
    ++meeting.transcriptWorkGeneration;
    if (state.status->phase != Phase::processing) return;
    state.status = MeetingStatus{.phase = Phase::paused};
    state.processingStatusMessage = std::string(messages::timedOut);
    state.interimPartial = "";
    processingActivity.reset();
}

void TranscriptionSession::finishRecording() {
    meeting.activeTime.closeActiveStretch(use.capture.clock.now());
    capture.resetMeters();
    state.systemAudioActive = false;
    state.interimPartial = "";
    state.processingStatusMessage = std::nullopt;
    checkpointTask.cancel();
    processingActivity.reset();
    state.status = MeetingStatus{};
}

// The meeting's own things

void TranscriptionSession::setTranscriptTitle(std::string title) {
    expectCurrent(use.capture.main);
    state.transcriptTitle = std::move(title);
    if (meeting.persistence) tasks.spawn([this] -> Task<void> { co_await writeCheckpoint(); });
}

void TranscriptionSession::vocabularyChanged() {
    expectCurrent(use.capture.main);
    vocabularyTask.cancel();
    vocabularyTask = tasks.spawn([this] -> Task<void> {
        co_await transcript.applyVocabulary();
        co_await writeCheckpoint();
    });
}

void TranscriptionSession::defaultTitle() {
    if (isBlank(*state.transcriptTitle))
        state.transcriptTitle = defaultMeetingTitle(meeting.sessionRecordedAt.value_or(use.capture.clock.now()));
}

bool TranscriptionSession::isBusy() const {
    switch (state.status->phase) {
    case Phase::loadingModel:
    case Phase::recording:
    case Phase::processing:
    case Phase::paused:
        return true;
    case Phase::idle:
    case Phase::error:
        break;
    }
    return *state.isRecoveringArchivedTranscript;
}

double TranscriptionSession::activeRecordingDuration() const {
    return meeting.activeTime.seconds(use.capture.clock.now(), isCapturing());
}

// Checkpoints

void TranscriptionSession::startCheckpoints() {
    checkpointTask.cancel();
    checkpointTask = tasks.spawn(saveCheckpoints());
}

Task<void> TranscriptionSession::saveCheckpoints() {
    while (true) {
        co_await sleepFor(checkpointInterval);
        if (!isCapturing()) co_return;
        if (meeting.sessionRecordedAt) tasks.spawn([this] -> Task<void> { co_await writeCheckpoint(); });
    }
}

Task<bool> TranscriptionSession::writeCheckpoint() {
    const auto persistence = meeting.persistence;
    if (!persistence || !meeting.meetingID || !meeting.sessionRecordedAt) co_return false;
    const Date now = use.capture.clock.now();
    const LaneCounts counts = isCapturing() ? capture.transcribedSamples() : meeting.transcribed;
    TranscriptCheckpoint checkpoint{.meetingID = *meeting.meetingID,
                                    .startedAt = *meeting.sessionRecordedAt,
                                    .durationSeconds = activeRecordingDuration(),
                                    .title = *state.transcriptTitle,
                                    .segments = transcript.persisted(),
                                    .meTranscribedSamples = counts.me,
                                    .themTranscribedSamples = counts.them,
                                    .themSpeakerCustomNames = {},
                                    .updatedAt = now};
    co_return co_await persistence->writeCheckpoint(std::move(checkpoint));
}

// What an earlier run left

Task<std::optional<TranscriptionSession::Restored>> TranscriptionSession::findOpenMeeting() {
    const auto checkpoints =
        co_await runOn(use.storage, [&support = use.applicationSupport, now = use.capture.clock.now()](
                                        const std::stop_token&) { return recoverableMeetings(support, now); });
    for (const TranscriptCheckpoint& checkpoint : checkpoints) {
        auto persistence = openPersistence(checkpoint.meetingID);
        if (!persistence) continue;
        auto segments = co_await persistence->loadSegments();
        if (segments.empty()) segments = checkpoint.segments;
        const bool hasSound = persistence->micPCM()->sampleCount() + persistence->themPCM()->sampleCount() > 0;
        if (!segments.empty() || hasSound) co_return Restored{checkpoint, std::move(persistence), std::move(segments)};
    }
    co_return std::nullopt;
}

Task<void> TranscriptionSession::restoreOpenMeeting() {
    expectCurrent(use.capture.main);
    const auto mayRestore = [this] {
        const Phase phase = state.status->phase;
        return !isStarting() && state.segments->empty() && !meeting.meetingID &&
               (phase == Phase::idle || phase == Phase::paused || phase == Phase::error);
    };
    if (!mayRestore()) co_return;
    auto found = co_await findOpenMeeting();
    if (!found || !mayRestore()) co_return;
    meeting.meetingID = found->checkpoint.meetingID;
    meeting.persistence = std::move(found->persistence);
    meeting.sessionRecordedAt = found->checkpoint.startedAt;
    meeting.activeTime.accumulatedActiveDuration = found->checkpoint.durationSeconds;
    meeting.transcribed = {.me = found->checkpoint.meTranscribedSamples.value_or(0),
                           .them = found->checkpoint.themTranscribedSamples.value_or(0)};
    transcript.restore(found->segments);
    state.transcriptTitle = found->checkpoint.title;
    state.meetingDate = meetingDateText(found->checkpoint.startedAt);
    state.status = MeetingStatus{};
    state.isRestored = true;
    log.info("restored a meeting with {} lines", found->segments.size());
}

} // namespace tavrin
