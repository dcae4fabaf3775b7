#include "meeting/WorldTestSupport.h"
#include "support/async/SerialExecutor.h"
#include "support/async/ThreadPool.h"
#include "support/time/Clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <deque>
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
        main.runAndWait([this] { meeting.reset(); });
        for (SerialExecutor& queue : queues)
            queue.runAndWait([] {});
    }

    void begin() {
        main.runAndWait([this] {
            meeting.emplace(
                ScriptedMeeting::Ground{.microphone = microphone,
                                        .tap = tap,
                                        .disk = disk,
                                        .diagnostics = diagnostics,
                                        .clock = wall,
                                        .main = main,
                                        .storage = storage,
                                        .newExecutor = [this] -> Executor& { return queues.emplace_back(pool); }});
            // Nobody says what the other one says.
            meeting->engines.say = [said = 0](std::string_view lane, const auto&) mutable {
                return (lane == "me" ? "we agree on point " : "ships are late by ") + std::to_string(++said);
            };
        });
        players.emplace_back(
            [this] { play([this](auto samples, auto end) { microphone.play(samples, end); }, 1'920); });
        players.emplace_back([this] { play([this](auto samples, auto end) { tap.play(samples, end); }, 3'840); });
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
        return until([&] { return meeting->session.state.status->phase == phase; });
    }

    const SystemSteadyClock steady;
    const SystemWallClock wall;
    std::atomic<bool> isOver = false;
    FakeMicrophone microphone;
    FakeSystemAudioTap tap;
    MemoryFolder disk;
    ThreadPool pool{4};
    SerialExecutor main{pool};
    std::deque<SerialExecutor> queues;
    SerialExecutor& storage = queues.emplace_back(pool);
    DiagnosticsLogger diagnostics{disk, storage, wall, steady};
    std::optional<ScriptedMeeting> meeting;
    std::vector<std::thread> players;
};

TEST_F(MeetingThreadsTest, meeting_runs_through_pauses_a_lost_microphone_and_its_end) {
    using Phase = MeetingStatus::Phase;
    begin();
    TranscriptionSession& session = meeting->session;
    for (int round = 0; round < 2; ++round) {
        main.runAndWait([&] { session.start(); });
        ASSERT_TRUE(untilPhase(Phase::recording));
        ASSERT_TRUE(until([&] { return session.state.segments->size() >= 4; }));
        main.runAndWait([&] { session.pauseRecording(); });
        ASSERT_TRUE(untilPhase(Phase::paused));
        main.runAndWait([&] { session.resume(); });
        ASSERT_TRUE(untilPhase(Phase::recording));
        microphone.lose();
        ASSERT_TRUE(until([&] { return microphone.isHeard(); }));
        main.runAndWait([&] { session.stop(); });
        ASSERT_TRUE(untilPhase(Phase::idle));
    }
    EXPECT_GE(disk.list("TavrinAssistant/Recordings").size(), 8U);
}

} // namespace
} // namespace tavrin
