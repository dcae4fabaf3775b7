#include "meeting/MeetingModelPolicy.h"

#include "meeting/ModelCacheGuard.h"
#include "meeting/ModelFolderResolver.h"
#include "meeting/PcmSamples.h"
#include "meeting/WhisperTranscriptionError.h"
#include "support/async/Sleep.h"
#include "support/log/Log.h"

#include <utility>

namespace tavrin {

namespace {

constexpr Logger logger{"MeetingModelPolicy"};

constexpr Duration launchRetryDelay = std::chrono::seconds(3);
/// Silence behind a dictation, 0.8 s, so that its last words do not stand at the very end of a window.
constexpr std::size_t silenceBehindDictation = 12'800;

Task<ChunkText> textAlone(Task<std::string> transcription) {
    co_return ChunkText{.text = co_await std::move(transcription), .words = {}};
}

} // namespace

MeetingModelPolicy::MeetingModelPolicy(Dependencies dependencies)
    : use(std::move(dependencies)),
      meetingLargeEngine({.modelVariant = use.folders.deployment().largeVariant.value_or(""),
                          .preferCPUOnly = false,
                          .threads = use.threadsPerWindow},
                         engineOn(use.workers.large, true)),
      dictationEngine({.modelVariant = use.folders.deployment().smallVariant.value_or(""),
                       .preferCPUOnly = true,
                       .threads = use.threadsPerWindow},
                      engineOn(use.workers.dictation, false)),
      themEngine({.modelVariant = use.folders.deployment().smallVariant.value_or(""),
                  .preferCPUOnly = true,
                  .threads = use.threadsPerWindow},
                 engineOn(use.workers.them, false)),
      largeLoads(use.main, meetingLargeEngine), dictationLoads(use.main, dictationEngine),
      themLoads(use.main, themEngine), tasks(use.main) {}

WhisperTranscriptionEngine::Dependencies MeetingModelPolicy::engineOn(Executor& worker, bool isLarge) const {
    return {.main = use.main,
            .worker = worker,
            .models = use.models,
            .cacheGuard = use.cacheGuard,
            .preferences = use.preferences,
            .resolveModelFolder = [&folders = use.folders, isLarge] {
                return isLarge ? folders.largeModelFolder() : folders.smallModelFolder();
            }};
}

bool MeetingModelPolicy::isSmallEnInstalled() const {
    expectCurrent(use.main);
    return use.folders.smallModelFolder().has_value();
}

// Loading

Task<void> MeetingModelPolicy::ensureMeetingModelLoaded() {
    return loadMeetingModel(Words::logged);
}

Task<void> MeetingModelPolicy::ensureMeetingModelLoadedSilently() {
    return loadMeetingModel(Words::silent);
}

Task<void> MeetingModelPolicy::ensureLargeEngineLoaded() {
    return loadLargeEngine(Words::logged);
}

Task<void> MeetingModelPolicy::loadMeetingModel(Words words) {
    if (isSmallEnInstalled()) {
        co_await ensureDictationModelLoaded();
        if (words == Words::logged) logger.info("Meeting capture using small.en for live + archive.");
    } else if (!isLargeLoaded) {
        co_await loadLargeEngine(words);
        if (words == Words::logged) logger.info("Meeting capture using large model (small.en not installed).");
    }
}

Task<void> MeetingModelPolicy::loadLargeEngine(Words words) {
    use.cacheGuard.run();
    co_await largeLoads.ensureLoaded();
    isLargeLoaded = true;
    if (words == Words::logged) logger.info("Meeting Whisper model ready.");
}

Task<void> MeetingModelPolicy::ensureThemEngineLoaded() {
    if (!isSmallEnInstalled()) co_return;
    use.cacheGuard.run();
    co_await themLoads.ensureLoaded();
    isThemLoaded = true;
}

Task<void> MeetingModelPolicy::ensureDictationModelLoaded() {
    use.cacheGuard.run();
    co_await dictationLoads.ensureLoaded();
    isSmallLoaded = true;
}

Task<void> MeetingModelPolicy::loadDictationEngineAtLaunch() {
    try {
        co_await ensureDictationModelLoaded();
        logger.info("Dictation Whisper model loaded at launch.");
        if (use.preloadDiarizer) use.preloadDiarizer();
        co_return;
    } catch (const std::exception& error) {
        logger.error("Dictation model failed to load at launch: {}", error.what());
    }
    co_await sleepFor(launchRetryDelay);
    try {
        co_await ensureDictationModelLoaded();
        logger.info("Dictation Whisper model loaded after retry.");
    } catch (const std::exception& error) {
        logger.error("Dictation model retry failed: {}", error.what());
    }
}

// Loading the large model in the background

void MeetingModelPolicy::scheduleBackgroundMeetingModelLoad() {
    expectCurrent(use.main);
    if (!use.folders.deployment().largeVariant || isSmallEnInstalled()) return;
    if (backgroundLoadSuspended || isLargeLoaded || backgroundLoadInFlight) return;
    backgroundLoadInFlight = true;
    backgroundLoadTask = tasks.spawn(loadInBackground());
}

Task<void> MeetingModelPolicy::loadInBackground() {
    try {
        co_await ensureLargeEngineLoaded();
    } catch (const std::exception& error) {
        logger.error("Background meeting model load failed: {}", error.what());
    }
    backgroundLoadInFlight = false;
}

void MeetingModelPolicy::suspendBackgroundMeetingModelLoad() {
    expectCurrent(use.main);
    backgroundLoadSuspended = true;
    std::exchange(backgroundLoadTask, {}).cancel();
    if (!isLargeLoaded) backgroundLoadInFlight = false;
    logger.info("Suspended background meeting-model load for capture.");
}

void MeetingModelPolicy::resumeBackgroundMeetingModelLoadAfterMeeting() {
    expectCurrent(use.main);
    backgroundLoadSuspended = false;
    if (isSmallEnInstalled()) logger.info("Skipped post-meeting large-model prewarm (small.en handles archive).");
    scheduleBackgroundMeetingModelLoad();
}

// Use

Task<std::string> MeetingModelPolicy::transcribeDictation(std::vector<std::byte> pcm) {
    expectCurrent(use.main);
    if (!isSmallLoaded) throw WhisperTranscriptionError(WhisperTranscriptionError::Reason::notLoaded);
    std::vector<float> samples = samplesOfPcm(pcm);
    if (samples.empty()) co_return "";
    samples.resize(samples.size() + silenceBehindDictation);
    co_return co_await dictationEngine.transcribe(std::move(samples), false);
}

WhisperTranscriptionEngine& MeetingModelPolicy::engineForMe() {
    return engine(engineForMeLane(engineState()));
}

WhisperTranscriptionEngine& MeetingModelPolicy::engineForThem() {
    return engine(engineForThemLane(engineState()));
}

WhisperTranscriptionEngine& MeetingModelPolicy::engine(MeetingEngine which) {
    switch (which) {
    case MeetingEngine::large:
        return meetingLargeEngine;
    case MeetingEngine::them:
        return themEngine;
    case MeetingEngine::dictation:
        break;
    }
    return dictationEngine;
}

LaneEngine MeetingModelPolicy::laneEngine(MeetingEngine which) {
    WhisperTranscriptionEngine& chosen = engine(which);
    const auto transcribe = [&chosen](std::vector<float> samples, bool withWords) -> Task<ChunkText> {
        return withWords ? chosen.transcribeWithWords(std::move(samples), true)
                         : textAlone(chosen.transcribe(std::move(samples), true));
    };
    return {.which = which, .transcribe = transcribe};
}

MeetingEngineState MeetingModelPolicy::engineState() const {
    return {.isSmallEnInstalled = isSmallEnInstalled(),
            .smallEngineLoaded = isSmallLoaded,
            .themEngineLoaded = isThemLoaded,
            .largeEngineLoaded = isLargeLoaded};
}

} // namespace tavrin
