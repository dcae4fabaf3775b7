#pragma once

#include "audio/MixedAudioCaptureService.h"
#include "meeting/ModelFolderResolver.h"
#include "meeting/TranscriptionSession.h"
#include "platform/fake/FakeAudioEngine.h"
#include "platform/fake/FakePowerActivity.h"
#include "platform/fake/FakePreferences.h"
#include "platform/fake/FakeSampleRateConverter.h"
#include "platform/fake/FakeSystemAudioTap.h"
#include "support/async/Sleep.h"
#include "support/async/VirtualTime.h"
#include "support/files/MemoryFolder.h"
#include "support/log/LogCapture.h"

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tavrin {

/// Engines that take as long as told and say what they are told: by default how loud a chunk was and how long.
class ScriptedEngines final : public MeetingEngines {
public:
    Duration loadTime{};
    std::string failLoad;
    Duration transcriptionTime{};
    /// Gives a chunk's text. May throw.
    std::function<std::string(const char* lane, const std::vector<float>& samples)> say =
        [](const char* lane, const std::vector<float>& samples) {
            return std::string(lane) + " heard " + std::to_string(samples.size());
        };
    int loads = 0;

    [[nodiscard]] bool isSmallEnInstalled() const override { return true; }
    [[nodiscard]] bool smallEngineLoaded() const override { return isLoaded; }
    [[nodiscard]] bool largeEngineLoaded() const override { return false; }
    Task<void> ensureMeetingModelLoaded() override {
        ++loads;
        co_await sleepFor(loadTime);
        if (!failLoad.empty()) throw std::runtime_error(failLoad);
        isLoaded = true;
    }
    Task<void> ensureThemEngineLoaded() override { co_return; }
    void suspendBackgroundMeetingModelLoad() override {}
    void resumeBackgroundMeetingModelLoadAfterMeeting() override {}
    [[nodiscard]] LaneEngine laneEngineForMe() override { return engine("me"); }
    [[nodiscard]] LaneEngine laneEngineForThem() override { return engine("them"); }

private:
    LaneEngine engine(const char* lane) {
        return {.which = MeetingEngine::dictation, .transcribe = [this, lane](std::vector<float> samples, bool) {
                    return transcribe(lane, std::move(samples));
                }};
    }
    Task<ChunkText> transcribe(const char* lane, std::vector<float> samples) {
        co_await sleepFor(transcriptionTime);
        co_return ChunkText{.text = say(lane, samples), .words = {}};
    }

    bool isLoaded = false;
};

inline std::vector<std::string> linesOf(const SessionState& state) {
    std::vector<std::string> lines;
    for (const TranscriptSegment& line : *state.segments)
        lines.push_back(line.speakerLabel + ": " + line.text);
    return lines;
}

/// A whole meeting: sound, engines and disk by script, everything between them real.
class ScriptedMeeting {
public:
    /// Outlives the last job of its executors.
    struct Ground {
        FakeMicrophone& microphone;
        FakeSystemAudioTap& tap;
        MemoryFolder& disk;
        DiagnosticsLogger& diagnostics;
        const WallClock& clock;
        Executor& main;
        Executor& storage;
        std::function<Executor&()> newExecutor;
    };

    explicit ScriptedMeeting(Ground whereItStands) : ground(std::move(whereItStands)) {
        tasks.spawn([this] -> Task<void> { co_await models.refresh(); });
    }

    const Ground ground;
    ScriptedEngines engines;
    FakePreferences preferences;
    FakePowerActivity powerActivity;
    std::optional<std::string> token = "tavrin_test";
    bool mayUseMicrophone = true;
    bool isDictating = false;
    std::shared_ptr<const VocabularyCorrector> vocabulary;
    ModelFolderResolver folders{preferences, {.smallVariant = std::nullopt}, {}};
    WhisperModelService models{ground.main, folders};
    AudioCaptureService micCapture{{.main = ground.main,
                                    .processingQueue = ground.newExecutor(),
                                    .engineQueue = ground.newExecutor(),
                                    .newEngine = ground.microphone.factory(),
                                    .newConverter = FakeSampleRateConverter::factory(),
                                    .note = {}}};
    SystemAudioCaptureService systemCapture{{.main = ground.main,
                                             .tapQueue = ground.newExecutor(),
                                             .ioQueue = ground.newExecutor(),
                                             .tap = ground.tap,
                                             .newConverter = FakeSampleRateConverter::factory(),
                                             .note = {}}};
    MixedAudioCaptureService mixedCapture{ground.main, micCapture, systemCapture};
    TranscriptionSession session{{.capture = {.main = ground.main,
                                              .meLane = ground.newExecutor(),
                                              .themLane = ground.newExecutor(),
                                              .clock = ground.clock,
                                              .mixedCapture = mixedCapture,
                                              .engines = engines,
                                              .models = models,
                                              .diagnostics = ground.diagnostics},
                                  .applicationSupport = ground.disk,
                                  .storage = ground.storage,
                                  .background = ground.newExecutor(),
                                  .powerActivity = powerActivity,
                                  .loadAPIToken = [this] -> Task<std::optional<std::string>> { co_return token; },
                                  .requestMicrophoneAccess = [this] -> Task<bool> { co_return mayUseMicrophone; },
                                  .isDictationBusy = [this] { return isDictating; },
                                  .vocabulary = [this] { return vocabulary; }}};
    TaskScope tasks{ground.main};
};

/// What a World stands on.
struct WorldGround {
    explicit WorldGround(MemoryFolder& diskToUse) : disk(diskToUse) {}

    MemoryFolder& disk;
    // What the last clean-up touches, which goes with the time.
    FakeMicrophone microphone;
    FakeSystemAudioTap tap;
    VirtualTime time;
    Executor& storage = time.addExecutor();
    DiagnosticsLogger diagnostics{disk, storage, time.wallClock(), time.steadyClock()};
};

/// A meeting on virtual time: one run of the program over a disk that outlives it.
class World : public WorldGround, public ScriptedMeeting {
public:
    explicit World(MemoryFolder& diskToUse)
        : WorldGround(diskToUse),
          ScriptedMeeting(Ground{.microphone = microphone,
                                 .tap = tap,
                                 .disk = disk,
                                 .diagnostics = diagnostics,
                                 .clock = time.wallClock(),
                                 .main = time.main(),
                                 .storage = storage,
                                 .newExecutor = [this] -> Executor& { return time.addExecutor(); }}) {
        time.runUntilIdle();
    }

    void start() {
        session.start();
        time.runUntilIdle();
    }

    /// Sound for a time, in pieces of 40 ms; absent: nothing comes from there.
    void play(Duration length, std::optional<float> intoMic, std::optional<float> intoSpeaker) {
        for (Duration passed{}; passed < length; passed += std::chrono::milliseconds(40)) {
            time.advance(std::chrono::milliseconds(40));
            if (intoMic) microphone.play(std::vector<float>(1'920, *intoMic), time.now());
            if (intoSpeaker) tap.play(std::vector<float>(3'840, *intoSpeaker), time.now());
        }
        time.runUntilIdle();
    }

    void finish(Task<void> task, Duration limit = std::chrono::seconds(60)) {
        bool isDone = false;
        tasks.spawn([&isDone, work = std::move(task)]() mutable -> Task<void> {
            co_await std::move(work);
            isDone = true;
        });
        if (!time.runUntil([&] { return isDone; }, limit)) throw std::runtime_error("it does not end");
    }

    [[nodiscard]] std::vector<std::string> texts() const { return linesOf(session.state); }
    [[nodiscard]] MeetingStatus::Phase phase() const { return session.state.status->phase; }
    [[nodiscard]] std::vector<std::string> recordings() const {
        return disk.info("TavrinAssistant/Recordings") ? disk.list("TavrinAssistant/Recordings")
                                                       : std::vector<std::string>();
    }
    /// Samples of the lane's file with this ending; 0 without one.
    [[nodiscard]] std::size_t samplesOnDisk(std::string_view ending) const {
        std::size_t samples = 0;
        for (const std::string& name : recordings())
            if (name.ends_with(ending)) samples += disk.info("TavrinAssistant/Recordings/" + name)->size / 2;
        return samples;
    }
};

} // namespace tavrin
