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

/// A whole meeting on virtual time: sound, engines and disk by script, everything between them real.
class World {
public:
    /// One run of the program over a disk that outlives it.
    explicit World(MemoryFolder& diskToUse, bool modelsInstalled = true)
        : disk(diskToUse), folders(preferences, deployment(modelsInstalled), {}), models(time.main(), folders),
          session(dependencies()) {
        tasks.spawn([this] -> Task<void> { co_await models.refresh(); });
        time.runUntilIdle();
    }
    ~World() { tasks.clear(); }

    void start() {
        session.start();
        time.runUntilIdle();
    }

    /// Sound for a time, in pieces of 40 ms; absent: nothing comes from there.
    void play(Duration length, std::optional<float> intoMic, std::optional<float> intoSpeaker) {
        for (Duration passed{}; passed < length; passed += std::chrono::milliseconds(40)) {
            time.advance(std::chrono::milliseconds(40));
            const std::vector<float> one(1'920, intoMic.value_or(0));
            if (intoMic) microphone.play(one, time.now());
            const std::vector<float> two(3'840, intoSpeaker.value_or(0));
            if (intoSpeaker) tap.play(two, time.now());
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

    [[nodiscard]] std::vector<std::string> texts() const {
        std::vector<std::string> result;
        for (const TranscriptSegment& line : *session.state.segments)
            result.push_back(line.speakerLabel + ": " + line.text);
        return result;
    }
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

    MemoryFolder& disk;
    // What the last clean-up touches, which goes with the time.
    FakeMicrophone microphone;
    FakeSystemAudioTap tap;
    VirtualTime time;
    ScriptedEngines engines;
    FakePreferences preferences;
    FakePowerActivity powerActivity;
    std::optional<std::string> token = "tavrin_test";
    bool mayUseMicrophone = true;
    bool isDictating = false;
    std::shared_ptr<const VocabularyCorrector> vocabulary;
    Executor& storage = time.addExecutor();
    Executor& background = time.addExecutor();
    Executor& engineQueue = time.addExecutor();
    DiagnosticsLogger diagnostics{disk, storage, time.wallClock(), time.steadyClock()};
    ModelFolderResolver folders;
    WhisperModelService models;
    AudioCaptureService micCapture{{.main = time.main(),
                                    .processingQueue = time.addExecutor(),
                                    .engineQueue = engineQueue,
                                    .newEngine = microphone.factory(),
                                    .newConverter = FakeSampleRateConverter::factory(),
                                    .note = [this](std::string line) { diagnostics.log(std::move(line)); }}};
    SystemAudioCaptureService systemCapture{{.main = time.main(),
                                             .tapQueue = time.addExecutor(),
                                             .ioQueue = time.addExecutor(),
                                             .tap = tap,
                                             .newConverter = FakeSampleRateConverter::factory(),
                                             .note = [this](std::string line) { diagnostics.log(std::move(line)); }}};
    MixedAudioCaptureService mixedCapture{time.main(), micCapture, systemCapture};
    TranscriptionSession session;
    TaskScope tasks{time.main()};

private:
    /// Without a variant nothing is needed on the disk; with one, it is looked for and not found.
    static ModelDeployment deployment(bool modelsInstalled) {
        return {.smallVariant = modelsInstalled ? std::nullopt : std::optional<std::string>("base")};
    }

    TranscriptionSession::Dependencies dependencies() {
        return {.capture = {.main = time.main(),
                            .meLane = time.addExecutor(),
                            .themLane = time.addExecutor(),
                            .clock = time.wallClock(),
                            .mixedCapture = mixedCapture,
                            .engines = engines,
                            .models = models,
                            .diagnostics = diagnostics},
                .applicationSupport = disk,
                .storage = storage,
                .background = background,
                .powerActivity = powerActivity,
                .loadAPIToken = [this] -> Task<std::optional<std::string>> { co_return token; },
                .requestMicrophoneAccess = [this] -> Task<bool> { co_return mayUseMicrophone; },
                .isDictationBusy = [this] { return isDictating; },
                .vocabulary = [this] { return vocabulary; }};
    }
};

} // namespace tavrin
