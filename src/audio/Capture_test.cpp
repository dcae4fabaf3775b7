#include "audio/MixedAudioCaptureService.h"
#include "audio/PcmFormat.h"
#include "platform/fake/FakeAudioEngine.h"
#include "platform/fake/FakeSampleRateConverter.h"
#include "platform/fake/FakeSystemAudioTap.h"
#include "support/async/VirtualTime.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A whole capture on virtual time, with a microphone and a speaker to play into.
class CaptureTest : public testing::Test {
protected:
    using Started = MixedAudioCaptureService::Started;

    CaptureTest() {
        capture.onMicPCMChunk.set([this](auto bytes) { keep(mic, micChunks, bytes); });
        capture.onSystemPCMChunk.set([this](auto bytes) { keep(system, systemChunks, bytes); });
        capture.onMicLevel.set([this](float level) { micLevels.push_back(level); });
    }

    static void keep(std::vector<float>& lane, std::vector<std::size_t>& sizes, std::span<const std::byte> bytes) {
        sizes.push_back(bytes.size());
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
            lane.push_back(static_cast<float>(static_cast<std::int16_t>(std::to_integer<int>(bytes[i]) |
                                                                        (std::to_integer<int>(bytes[i + 1]) << 8))) /
                           32'768.0F);
    }

    void start() {
        tasks.spawn([this] -> Task<void> {
            try {
                started = co_await capture.start();
            } catch (const std::exception& error) {
                failure = error.what();
            }
        });
        time.runUntilIdle();
    }

    /// Sound for a time, in pieces of 40 ms; what is not given is not heard.
    void play(Duration length, std::optional<float> intoMic, std::optional<float> intoSpeaker) {
        for (Duration passed{}; passed < length; passed += 40ms) {
            time.advance(40ms);
            const std::vector<float> one(static_cast<std::size_t>(microphone.format.sampleRate * 0.04) *
                                             microphone.format.channels,
                                         intoMic.value_or(0));
            if (intoMic) microphone.play(one, time.now());
            const std::vector<float> two(static_cast<std::size_t>(tap.format.sampleRate * 0.04) * tap.format.channels,
                                         intoSpeaker.value_or(0));
            if (intoSpeaker) tap.play(two, time.now());
        }
        time.runUntilIdle();
    }

    static std::ptrdiff_t firstLoud(const std::vector<float>& lane, float level) {
        return std::ranges::find_if(lane, [&](float s) { return std::abs(s) >= level; }) - lane.begin();
    }

    // What the last clean-up touches, which goes with the time.
    FakeMicrophone microphone;
    FakeSystemAudioTap tap;
    VirtualTime time;
    std::vector<std::string> notes;
    std::function<void(std::string)> note = [this](std::string line) { notes.push_back(std::move(line)); };
    Executor& engineQueue = time.addExecutor();
    AudioCaptureService micCapture{{.main = time.main(),
                                    .processingQueue = time.addExecutor(),
                                    .engineQueue = engineQueue,
                                    .newEngine = microphone.factory(),
                                    .newConverter = FakeSampleRateConverter::factory(),
                                    .note = note}};
    SystemAudioCaptureService systemCapture{{.main = time.main(),
                                             .tapQueue = time.addExecutor(),
                                             .ioQueue = time.addExecutor(),
                                             .tap = tap,
                                             .newConverter = FakeSampleRateConverter::factory(),
                                             .note = note}};
    MixedAudioCaptureService capture{time.main(), micCapture, systemCapture};
    std::vector<float> mic, system, micLevels;
    std::vector<std::size_t> micChunks, systemChunks;
    std::optional<Started> started;
    std::string failure;
    TaskScope tasks{time.main()};
};

TEST_F(CaptureTest, both_lanes_come_as_chunks_of_one_format) {
    microphone.format = {44'100, 2};
    start();
    EXPECT_EQ(started, Started::both);
    play(2s, 0.5F, 0.25F);
    EXPECT_NEAR(static_cast<double>(mic.size()), 32'000, 4'000);
    EXPECT_NEAR(static_cast<double>(system.size()), 32'000, 4'000);
    EXPECT_NEAR(mic.back(), 0.5, 0.001);
    EXPECT_NEAR(system.back(), 0.25, 0.001);
    EXPECT_NEAR(micLevels.back(), 0.5, 0.001);
    for (const std::size_t size : micChunks) {
        EXPECT_GE(size, minChunkBytes);
        EXPECT_LE(size, maxChunkBytes);
    }
}

TEST_F(CaptureTest, no_microphone_no_meeting_and_no_tap_a_meeting_all_the_same) {
    microphone.format = {0, 0};
    start();
    EXPECT_THAT(failure, HasSubstr("input format is unavailable"));
    EXPECT_FALSE(microphone.isHeard());

    microphone.format = {48'000, 1};
    tap.available = false;
    start();
    EXPECT_EQ(started, Started::microphoneOnly);
    EXPECT_THAT(capture.lastSystemStartError().value_or(""), HasSubstr("Allow “Tavrin Assistant”"));

    tap.available = true;
    tap.failStart.emplace(SystemAudioTapError::Step::start, -4, "refused");
    start();
    EXPECT_EQ(capture.lastSystemStartError(), "Could not start the system-audio device (status -4).");
    EXPECT_FALSE(tap.isOpen());
}

TEST_F(CaptureTest, start_that_hangs_times_out_after_twelve_seconds_and_cleans_up) {
    time.stall(engineQueue, 13s);
    start();
    time.advance(12s - 1ms);
    EXPECT_EQ(failure, "");
    time.advance(1ms);
    EXPECT_THAT(failure, HasSubstr("did not start in time"));
    time.advance(2s);
    EXPECT_FALSE(microphone.isHeard());
}

TEST_F(CaptureTest, stop_during_a_start_wins) {
    time.stall(engineQueue, 3s);
    start();
    capture.stop();
    time.advance(5s);
    EXPECT_EQ(started, Started::superseded);
    EXPECT_FALSE(microphone.isHeard());
    EXPECT_FALSE(tap.isOpen());
}

TEST_F(CaptureTest, unplugged_microphone_comes_back_with_its_hole_filled) {
    start();
    play(2s, 0.1F, 0.1F);
    microphone.lose();
    microphone.failNextStarts = {"gone", "gone", "gone"};
    bool lost = false;
    capture.onMicrophoneLost = [&](bool isLost) { lost = isLost; };
    microphone.format = {44'100, 2}; // another one is plugged in
    play(1s + 40ms, std::nullopt, 0.1F);
    EXPECT_TRUE(lost);
    play(4s, std::nullopt, 0.1F);
    EXPECT_FALSE(lost);
    play(2s, 0.9F, 0.9F);
    ASSERT_TRUE(microphone.isHeard());
    EXPECT_NEAR(static_cast<double>(firstLoud(mic, 0.5F)), static_cast<double>(firstLoud(system, 0.5F)), 640);
    EXPECT_THAT(notes, Contains(HasSubstr("capture_gap_filled lane=mic samples=")));
}

TEST_F(CaptureTest, tap_that_says_nothing_for_a_while_stays_on_the_time_line) {
    start();
    play(1s, 0.1F, 0.1F);
    play(7s, 0.1F, std::nullopt);
    play(2s, 0.9F, 0.9F);
    EXPECT_NEAR(static_cast<double>(firstLoud(mic, 0.5F)), static_cast<double>(firstLoud(system, 0.5F)), 640);
}

TEST_F(CaptureTest, pieces_that_come_late_all_at_once_are_no_gap) {
    start();
    play(2s, 0.1F, 0.1F);
    time.advance(1s); // our own threads slept; the sound waited in the server
    const std::vector<float> piece(1'920, 0.1F);
    for (int i = 0; i < 25; ++i)
        microphone.play(piece, time.now());
    play(8s, 0.1F, 0.1F);
    EXPECT_NEAR(static_cast<double>(mic.size()), 11 * 16'000, 4'800);
    EXPECT_THAT(notes, testing::Not(Contains(HasSubstr("lane=mic"))));
}

TEST_F(CaptureTest, long_silence_of_the_system_is_noted_once) {
    const LogCapture log;
    start();
    play(12s + 120ms, 0.1F, 0.0F);
    EXPECT_THAT(notes, ElementsAre("system_tap_sustained_silence_start windows=5"));
    play(2s, 0.1F, 0.5F);
    EXPECT_THAT(notes, Contains("system_tap_silence_ended afterWindows=6"));
    EXPECT_TRUE(log.contains("-> SILENCE (all-zero)"));
    EXPECT_TRUE(log.contains("-> SIGNAL"));
}

TEST_F(CaptureTest, accumulated_take_holds_what_was_said_between) {
    tasks.spawn([this] -> Task<void> { co_await micCapture.start(false); });
    time.runUntilIdle();
    play(1s, 0.1F, std::nullopt);
    micCapture.startAccumulating();
    play(1s, 0.5F, std::nullopt);
    std::vector<std::byte> take;
    tasks.spawn([&] -> Task<void> { take = co_await micCapture.stopAccumulating(); });
    time.runUntilIdle();
    EXPECT_EQ(take.size(), 32'000U);
}

} // namespace
} // namespace tavrin
