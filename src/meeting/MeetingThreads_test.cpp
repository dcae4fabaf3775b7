#include "meeting/WorldTestSupport.h"
#include "support/async/SerialExecutor.h"
#include "support/async/ThreadPool.h"
#include "support/time/Clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace tavrin {
namespace {

using namespace std::chrono_literals;

/// A meeting on real threads: sound comes from two of them, everything else is where it is in the program. For the
/// thread sanitizer, and for whatever only real time shows.
class MeetingThreadsTest : public testing::Test {
protected:
    ~MeetingThreadsTest() override {
        isOver = true;
        for (std::thread& player : players)
            player.join();
        main.runAndWait([this] {
            tasks.reset();
            session.reset();
            mixed.reset();
            mic.reset();
            system.reset();
        });
        for (SerialExecutor* queue : {&engineQueue, &tapQueue, &processing, &io, &meLane, &themLane, &storage})
            queue->runAndWait([] {});
    }

    void build() {
        // Nobody says what the other one says.
        engines.say = [said = 0](std::string_view lane, const auto&) mutable {
            return (lane == "me" ? "we agree on point " : "ships are late by ") + std::to_string(++said);
        };
        main.runAndWait([this] {
            models.emplace(main, folders);
            mic.emplace(AudioCaptureService::Dependencies{.main = main,
                                                          .processingQueue = processing,
                                                          .engineQueue = engineQueue,
                                                          .newEngine = microphone.factory(),
                                                          .newConverter = FakeSampleRateConverter::factory(),
                                                          .note = {}});
            system.emplace(SystemAudioCaptureService::Dependencies{.main = main,
                                                                   .tapQueue = tapQueue,
                                                                   .ioQueue = io,
                                                                   .tap = tap,
                                                                   .newConverter = FakeSampleRateConverter::factory(),
                                                                   .note = {}});
            mixed.emplace(main, *mic, *system);
            session.emplace(dependencies());
            tasks.emplace(main);
            tasks->spawn([this] -> Task<void> { co_await models->refresh(); });
        });
        players.emplace_back(
            [this] { play([this](auto samples, auto end) { microphone.play(samples, end); }, 1'920); });
        players.emplace_back([this] { play([this](auto samples, auto end) { tap.play(samples, end); }, 3'840); });
    }

    TranscriptionSession::Dependencies dependencies() {
        return {.capture = {.main = main,
                            .meLane = meLane,
                            .themLane = themLane,
                            .clock = wall,
                            .mixedCapture = *mixed,
                            .engines = engines,
                            .models = *models,
                            .diagnostics = diagnostics},
                .applicationSupport = disk,
                .storage = storage,
                .background = storage,
                .powerActivity = power,
                .loadAPIToken = [] -> Task<std::optional<std::string>> { co_return "tavrin_test"; },
                .requestMicrophoneAccess = [] -> Task<bool> { co_return true; },
                .isDictationBusy = {}};
    }

    /// A loud piece of 40 ms every 5 ms: eight times as much sound as time, and no gap.
    template <class Sink>
    void play(Sink sink, std::size_t samples) {
        const std::vector<float> piece(samples, 0.3F);
        SteadyInstant end = steady.now();
        while (!isOver) {
            end += 40ms;
            sink(std::span<const float>(piece), end);
            std::this_thread::sleep_for(5ms);
        }
    }

    template <class Condition>
    bool until(Condition condition) {
        const SteadyInstant limit = steady.now() + 30s;
        while (steady.now() < limit) {
            bool holds = false;
            main.runAndWait([&] { holds = condition(); });
            if (holds) return true;
            std::this_thread::sleep_for(10ms);
        }
        return false;
    }
    bool untilPhase(MeetingStatus::Phase phase) {
        return until([&] { return session->state.status->phase == phase; });
    }

    const SystemSteadyClock steady;
    const SystemWallClock wall;
    std::atomic<bool> isOver = false;
    FakeMicrophone microphone;
    FakeSystemAudioTap tap;
    FakePreferences preferences;
    FakePowerActivity power;
    ScriptedEngines engines;
    MemoryFolder disk;
    ThreadPool pool{4};
    SerialExecutor main{pool};
    SerialExecutor engineQueue{pool}, tapQueue{pool}, processing{pool}, io{pool}, meLane{pool}, themLane{pool};
    SerialExecutor storage{pool};
    DiagnosticsLogger diagnostics{disk, storage, wall, steady};
    ModelFolderResolver folders{preferences, {.smallVariant = std::nullopt}, {}};
    std::optional<WhisperModelService> models;
    std::optional<AudioCaptureService> mic;
    std::optional<SystemAudioCaptureService> system;
    std::optional<MixedAudioCaptureService> mixed;
    std::optional<TranscriptionSession> session;
    std::optional<TaskScope> tasks;
    std::vector<std::thread> players;
};

TEST_F(MeetingThreadsTest, meeting_runs_through_pauses_a_lost_microphone_and_its_end) {
    using Phase = MeetingStatus::Phase;
    build();
    for (int round = 0; round < 2; ++round) {
        main.runAndWait([&] { session->start(); });
        ASSERT_TRUE(untilPhase(Phase::recording));
        ASSERT_TRUE(until([&] { return session->state.segments->size() >= 4; }));
        main.runAndWait([&] { session->pauseRecording(); });
        ASSERT_TRUE(untilPhase(Phase::paused));
        main.runAndWait([&] { session->resume(); });
        ASSERT_TRUE(untilPhase(Phase::recording));
        microphone.lose();
        ASSERT_TRUE(until([&] { return microphone.isHeard(); }));
        main.runAndWait([&] { session->stop(); });
        ASSERT_TRUE(untilPhase(Phase::idle));
    }
    EXPECT_GE(disk.list("TavrinAssistant/Recordings").size(), 8U);
}

} // namespace
} // namespace tavrin
