#pragma once

#include "meeting/LaneDrain.h"
#include "meeting/LiveCapture.h"
#include "meeting/LiveTranscript.h"
#include "meeting/OpenMeeting.h"
#include "meeting/SessionState.h"
#include "meeting/TranscriptCheckpoint.h"
#include "platform/PowerActivity.h"
#include "platform/Preferences.h"
#include "support/async/TaskScope.h"
#include "support/files/Folder.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tavrin {

/// The one long-lived controller of meetings: start, pause, resume, stop, and what is brought back after a crash.
///
/// States:   see MeetingStatus. idle, error or paused → loadingModel → recording → processing → paused or idle.
/// Rule:     audio is never lost because a model is slow: capture starts first and goes to disk from the first
/// callback. Thread:   main executor only (checked). After each wait the status and the generations are read anew.
/// Lifetime: everything in Dependencies outlives it. Destruction ends capture and cancels; what is on disk stays.
class TranscriptionSession final {
public:
    struct Dependencies {
        LiveCapture::Dependencies capture;
        Folder& applicationSupport;
        Executor& storage;
        /// Long computations on the transcript.
        Executor& background;
        PowerActivity& powerActivity;
        /// The stored API token; absent or empty: none.
        std::function<Task<std::optional<std::string>>()> loadAPIToken;
        /// Asks for the microphone where the system wants to be asked.
        std::function<Task<bool>()> requestMicrophoneAccess;
        /// Dictation uses the microphone. May be empty.
        std::function<bool()> isDictationBusy;
        /// The user's corrections as they are now. May be empty.
        std::function<std::shared_ptr<const VocabularyCorrector>()> vocabulary{};
    };

    static constexpr Duration checkpointInterval = std::chrono::seconds(60);
    /// Audio of half a second is the least that is worth keeping.
    static constexpr std::int64_t leastSamples = 8'000;

    explicit TranscriptionSession(Dependencies dependencies);
    TranscriptionSession(const TranscriptionSession&) = delete;
    TranscriptionSession& operator=(const TranscriptionSession&) = delete;
    ~TranscriptionSession();

    /// What views show.
    SessionState state;

    /// Begins a new meeting; what an earlier one left on disk stays there. Failures end in the status or a sheet.
    Task<void> startRecording();
    void pauseRecording();
    Task<void> resumeRecording();
    Task<void> stopRecording();
    /// The same as tasks of the session's own, for buttons and menus.
    void start() { tasks.spawn(startRecording()); }
    void resume() { tasks.spawn(resumeRecording()); }
    void stop() { tasks.spawn(stopRecording()); }

    void setTranscriptTitle(std::string title);
    /// The user's corrections have changed: what stands is corrected by them, on screen and on disk.
    void vocabularyChanged();

    /// Something must not overlap with what goes on here.
    [[nodiscard]] bool isBusy() const;
    [[nodiscard]] bool isCapturing() const { return state.status->isCapturing(); }
    /// The meeting whose recording is in use, on screen or being made.
    [[nodiscard]] const std::optional<std::string>& openMeetingID() const { return meeting.meetingID; }
    /// When the meeting on screen began.
    [[nodiscard]] const std::optional<Date>& startedAt() const { return meeting.sessionRecordedAt; }
    /// Seconds recorded so far, pauses left out.
    [[nodiscard]] double activeRecordingDuration() const;

    /// Brings back the newest meeting that an earlier run left open. Once, at start.
    Task<void> restoreOpenMeeting();

    /// Saves a checkpoint of the meeting. False when it could not be written, or nothing is open.
    Task<bool> writeCheckpoint();

private:
    struct Restored {
        TranscriptCheckpoint checkpoint;
        std::shared_ptr<TranscriptPersistence> persistence;
        std::vector<PersistedTranscriptSegment> segments;
    };

    // The steps of a start.
    [[nodiscard]] bool isStarting() const { return !startUnderWay.expired(); }
    [[nodiscard]] bool mayBeginAnew() const;
    Task<bool> checkPrerequisites();
    void resetMeeting();
    void openMeeting();
    Task<void> undoStart();
    void tellSaving(bool cannotSave);
    Task<void> saveLeft(std::shared_ptr<TranscriptPersistence> left);

    void beginProcessing(std::optional<MeetingStatus> then);
    Task<void> drain(EndedLanes lanes, std::optional<MeetingStatus> then);
    Task<bool> waitForArchiveDrain();
    void giveUpDrain();
    [[nodiscard]] Duration drainBudget() const;
    void finishRecording();
    void defaultTitle();
    void startCheckpoints();
    Task<void> saveCheckpoints();
    Task<std::optional<Restored>> findOpenMeeting();
    std::shared_ptr<TranscriptPersistence> openPersistence(const std::string& meetingID);

    const Dependencies use;
    OpenMeeting meeting;
    LiveTranscript transcript;
    LiveCapture capture;

    // state, main executor
    std::weak_ptr<const void> startUnderWay; // held by the start that has the say
    bool isStopping = false;
    std::shared_ptr<PowerActivity::Token> processingActivity;
    TaskHandle processingDrainTask;
    TaskHandle checkpointTask;
    TaskHandle vocabularyTask;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
