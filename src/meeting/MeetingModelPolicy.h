#pragma once

#include "meeting/LoadCoordinator.h"
#include "meeting/MeetingEngineChoice.h"
#include "meeting/MeetingEngines.h"
#include "meeting/WhisperTranscriptionEngine.h"
#include "support/async/TaskScope.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tavrin {

class ModelFolderResolver;

/// Owns the speech engines and says which of them is loaded when, and which serves whom.
///
/// The small model, if installed, does everything in a meeting and all dictation; the large one serves meetings where
/// the small one is missing. Flags only ever become true, but for the two of the background load.
///
/// Thread:   main executor only (checked).
/// Lifetime: everything in Dependencies outlives it, and outlives the workers: their last job may run longer.
/// Errors:   the tasks that load throw what WhisperTranscriptionEngine::ensureLoaded throws, unless they say otherwise.
class MeetingModelPolicy final : public MeetingEngines {
public:
    /// Where each engine works: executors of their own, so that none waits for another.
    struct Workers {
        Executor& large;
        Executor& dictation;
        Executor& them;
    };
    struct Dependencies {
        Executor& main;
        Workers workers;
        ModelFolderResolver& folders;
        SpeechModelCache& models;
        ModelCacheGuard& cacheGuard;
        const Preferences& preferences;
        /// Starts loading the speaker models in the background where they are installed. May be empty.
        std::function<void()> preloadDiarizer;
        /// One: two lanes that decode at once then share the processors, where two threads each would wait for
        /// one another.
        int threadsPerWindow = 1;
    };

    explicit MeetingModelPolicy(Dependencies dependencies);

    [[nodiscard]] bool isSmallEnInstalled() const override;

    /// Loads what a meeting needs: the small model, or the large one where the small one is not installed.
    Task<void> ensureMeetingModelLoaded() override;
    /// The same without log lines.
    Task<void> ensureMeetingModelLoadedSilently();
    /// Loads the Them lane's own engine; does nothing without the small model.
    Task<void> ensureThemEngineLoaded() override;
    Task<void> ensureLargeEngineLoaded();
    Task<void> ensureDictationModelLoaded();

    /// Loads the small model when the program starts, with one more try after 3 s. Throws nothing.
    Task<void> loadDictationEngineAtLaunch();

    /// Begins to load the large model, for as long as no capture needs the machine: not when it is loaded or loading,
    /// nor where it is not offered or the small one is installed.
    void scheduleBackgroundMeetingModelLoad();
    /// At the start of a capture: no background load begins any more.
    void suspendBackgroundMeetingModelLoad() override;
    void resumeBackgroundMeetingModelLoadAfterMeeting() override;

    /// The text of a dictation: signed 16-bit little-endian samples, 16 kHz mono. Empty for no samples. Throws
    /// WhisperTranscriptionError (`notLoaded`) and what WhisperTranscriptionEngine::transcribe throws.
    Task<std::string> transcribeDictation(std::vector<std::byte> pcm);

    /// The engine of a lane that goes live now.
    [[nodiscard]] WhisperTranscriptionEngine& engineForMe();
    [[nodiscard]] WhisperTranscriptionEngine& engineForThem();
    [[nodiscard]] LaneEngine laneEngineForMe() override { return laneEngine(engineForMeLane(engineState())); }
    [[nodiscard]] LaneEngine laneEngineForThem() override { return laneEngine(engineForThemLane(engineState())); }

    [[nodiscard]] bool smallEngineLoaded() const override { return isSmallLoaded; }
    [[nodiscard]] bool largeEngineLoaded() const override { return isLargeLoaded; }
    [[nodiscard]] bool themEngineLoaded() const { return isThemLoaded; }

private:
    enum class Words : std::uint8_t { logged, silent };

    [[nodiscard]] WhisperTranscriptionEngine::Dependencies engineOn(Executor& worker, bool isLarge) const;
    [[nodiscard]] WhisperTranscriptionEngine& engine(MeetingEngine which);
    [[nodiscard]] LaneEngine laneEngine(MeetingEngine which);
    [[nodiscard]] MeetingEngineState engineState() const;
    Task<void> loadMeetingModel(Words words);
    Task<void> loadLargeEngine(Words words);
    Task<void> loadInBackground();

    const Dependencies use;
    WhisperTranscriptionEngine meetingLargeEngine;
    WhisperTranscriptionEngine dictationEngine;
    WhisperTranscriptionEngine themEngine;

    // state, main executor
    LoadCoordinator largeLoads;
    LoadCoordinator dictationLoads;
    LoadCoordinator themLoads;
    bool isSmallLoaded = false;
    bool isLargeLoaded = false;
    bool isThemLoaded = false;
    bool backgroundLoadSuspended = false;
    bool backgroundLoadInFlight = false;
    TaskHandle backgroundLoadTask;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
