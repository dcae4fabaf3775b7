#include "audio/MixedAudioCaptureService.h"
#include "audio/PcmFormat.h"
#include "audio/PcmLane.h"
#include "platform/fake/FakeAudioEngine.h"
#include "platform/fake/FakeSampleRateConverter.h"
#include "platform/fake/FakeSystemAudioTap.h"
#include "support/async/VirtualTime.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
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
    Executor& tapQueue = time.addExecutor();
    AudioCaptureService micCapture{{.main = time.main(),
                                    .processingQueue = time.addExecutor(),
                                    .engineQueue = engineQueue,
                                    .newEngine = microphone.factory(),
                                    .newConverter = FakeSampleRateConverter::factory(),
                                    .note = note}};
    SystemAudioCaptureService systemCapture{{.main = time.main(),
                                             .tapQueue = tapQueue,
                                             .ioQueue = time.addExecutor(),
                                             .tap = tap,
                                             .newConverter = FakeSampleRateConverter::factory(),
                                             .note = note}};
    MixedAudioCaptureService capture{time.main(), micCapture, systemCapture};
    std::vector<float> mic, system, micLevels;
    std::vector<std::size_t> micChunks, systemChunks;
    std::optional<Started> started;
    std::string failure;
    int timeouts = 0;
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

TEST_F(CaptureTest, remount_that_fails_loses_the_microphone_until_it_is_back) {
    start();
    play(1s, 0.1F, 0.1F);
    std::vector<bool> told;
    capture.onMicrophoneLost = [&](bool isLost) { told.push_back(isLost); };
    std::vector<std::string> failures;
    const auto remount = [&] {
        tasks.spawn([&] -> Task<void> {
            try {
                co_await capture.remountMic();
            } catch (const AudioCaptureError& error) {
                failures.emplace_back(error.what());
            }
        });
        time.runUntilIdle();
    };
    microphone.failNextStarts = {"alsa_input.usb: Timeout", "gone"};
    remount();
    EXPECT_THAT(failures, ElementsAre(HasSubstr("could not be opened")));
    EXPECT_THAT(told, ElementsAre(true));
    remount(); // it is looked for already
    play(3s, std::nullopt, 0.1F);
    EXPECT_FALSE(microphone.isHeard());
    EXPECT_THAT(microphone.failNextStarts, IsEmpty());
    play(2s, std::nullopt, 0.1F);
    EXPECT_THAT(told, ElementsAre(true, false));
    EXPECT_EQ(microphone.starts, 2);
    play(2s, 0.9F, 0.9F);
    EXPECT_NEAR(static_cast<double>(firstLoud(mic, 0.5F)), static_cast<double>(firstLoud(system, 0.5F)), 640);

    remount();
    capture.stop();
    time.advance(10s);
    EXPECT_FALSE(microphone.isHeard());
    EXPECT_EQ(failures.size(), 1U);
}

TEST_F(CaptureTest, start_that_times_out_leaves_a_newer_one_alone) {
    time.stall(engineQueue, 13s);
    time.stall(tapQueue, 13s);
    const auto open = [this] {
        tasks.spawn([this] -> Task<void> {
            try {
                co_await micCapture.start(false);
            } catch (const AudioCaptureError&) {
                ++timeouts;
            }
        });
        tasks.spawn([this] -> Task<void> {
            try {
                co_await systemCapture.start();
            } catch (const SystemAudioCaptureError&) {
                ++timeouts;
            }
        });
    };
    open();
    time.advance(5s);
    open();
    time.advance(10s);
    EXPECT_EQ(timeouts, 2);
    EXPECT_TRUE(microphone.isHeard());
    EXPECT_TRUE(tap.isOpen());
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
    EXPECT_TRUE(log.contains("Tap mode: script"));
    EXPECT_TRUE(log.contains("Excluding own process from tap: objectID="));
}

TEST_F(CaptureTest, accumulated_take_holds_what_was_said_between) {
    tasks.spawn([this] -> Task<void> { co_await micCapture.start(false); });
    time.runUntilIdle();
    play(1s, 0.1F, std::nullopt);
    std::vector<float> take;
    std::vector<std::size_t> sizes;
    const auto stopAccumulating = [&] {
        take.clear();
        tasks.spawn([&] -> Task<void> { keep(take, sizes, co_await micCapture.stopAccumulating()); });
        time.runUntilIdle();
    };
    for (int i = 0; i < 2; ++i) {
        micCapture.startAccumulating();
        play(1s, 0.5F, std::nullopt);
        play(40ms, 0.75F, std::nullopt);
        stopAccumulating();
        EXPECT_EQ(take.size(), 16'640U + (i == 0 ? FakeSampleRateConverter::holdsBack : 0));
        EXPECT_NEAR(take.back(), 0.75, 0.001);
        EXPECT_NEAR(take[take.size() - 640], 0.75, 0.001);
    }
    micCapture.startAccumulating();
    play(1s, 0.5F, std::nullopt);
    micCapture.stop(); // what was taken can still be fetched
    stopAccumulating();
    EXPECT_EQ(take.size(), 16'000U);
    micCapture.startAccumulating();
    play(1s, 0.5F, std::nullopt);
    stopAccumulating();
    EXPECT_THAT(take, IsEmpty());
}

/// One lane under a device whose clock differs: words of half a second, one every second and a half.
struct DriftingLane {
    explicit DriftingLane(double partsPerMillion) : rate(16'000 * (1 + partsPerMillion * 1e-6)) {}

    /// Level of the sound at a time of our clock.
    [[nodiscard]] float level(double at) const { return hasPauses && std::fmod(at, 1.5) >= 0.5 ? 0.0F : 0.5F; }

    void play(int seconds) {
        lane.setOrigin(start);
        std::vector<float> piece(640);
        for (std::int64_t frame = 0; static_cast<double>(frame) < seconds * rate;) {
            for (float& sample : piece)
                sample = level(static_cast<double>(frame++) / rate);
            lateness = (lateness * 7'919 + 12'345) % 20'000; // us
            const double end = static_cast<double>(frame) / rate;
            lane.add({.format = {16'000, 1},
                      .samples = piece,
                      .end = start + std::chrono::nanoseconds(std::llround(end * 1e9)) +
                             std::chrono::microseconds(lateness) + wander(end)});
        }
    }

    void hear(std::span<const std::byte> pcm) {
        for (std::size_t i = 1; i < pcm.size(); i += pcmBytesPerSample, ++heard) {
            const bool isLoud = pcm[i] != std::byte{};
            if (isLoud && !wasLoud)
                farthest = std::max(farthest, std::abs(std::remainder(static_cast<double>(heard), 24'000)));
            if (isLoud && !wasLoud) begin = heard;
            if (!isLoud && wasLoud)
                shortest = std::min(shortest, heard - begin), longest = std::max(longest, heard - begin);
            wasLoud = isLoud;
        }
    }

    double rate;
    bool hasPauses = true;
    std::function<Duration(double)> wander = [](double /*at*/) { return Duration{}; }; ///< of the buffers' times
    SteadyInstant start{1h};
    unsigned lateness = 0;
    std::int64_t heard = 0, begin = 0, shortest = 1 << 30, longest = 0;
    double farthest = 0; // of a word's begin from where the clock says
    bool wasLoud = false;
    CallbackSlot<std::span<const std::byte>> chunk{};
    CallbackSlot<float> levels{};
    std::vector<std::string> notes;
    PcmLane lane{"mic",
                 FakeSampleRateConverter::factory(),
                 {chunk, levels, [this](auto pcm) { hear(pcm); }},
                 [this](std::string line) { notes.push_back(std::move(line)); }};
};

TEST(PcmLane, a_device_with_another_clock_stays_on_the_time_line_with_its_words_whole) {
    for (const double partsPerMillion : {-300, -100, 100, 300}) { // a third of a second in all
        SCOPED_TRACE(partsPerMillion);
        DriftingLane device(partsPerMillion);
        device.play(std::abs(partsPerMillion) > 100 ? 1'200 : 3'600);
        EXPECT_LE(device.farthest, 20 * 16); // so that two lanes are at most 40 ms apart
        EXPECT_GE(device.shortest, 7'996);
        EXPECT_LE(device.longest, 8'004);
        if (partsPerMillion > 0)
            EXPECT_THAT(device.notes, testing::Each(testing::ContainsRegex(
                                          "capture_lead_removed lane=mic samples=(19|2[01])[0-9]$")));
        EXPECT_EQ(device.notes.empty(), partsPerMillion < 0);
    }
}

TEST(PcmLane, a_device_whose_times_wander_is_left_alone) {
    DriftingLane device(0);
    device.wander = [](double at) {
        const double wave = 0.01 * std::sin(at * 2 * std::numbers::pi / 13);
        const double burst = at >= 30 && at < 36 ? 0.03 : 0; // a busy machine reports late for a while
        return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(wave + burst));
    };
    device.play(300);
    EXPECT_NEAR(static_cast<double>(device.heard), 300 * 16'000, 320);
    EXPECT_LE(device.farthest, 20 * 16);
    EXPECT_EQ(device.longest, 8'000);
    EXPECT_EQ(device.shortest, 8'000);
    EXPECT_THAT(device.notes, IsEmpty());
}

TEST(PcmLane, a_lead_grows_to_a_tenth_of_a_second_where_nobody_pauses) {
    DriftingLane device(300);
    device.hasPauses = false;
    device.play(600);
    const double lead = static_cast<double>(device.heard) - 600.0 * 16'000;
    EXPECT_GT(lead, 0);
    EXPECT_LE(lead, 1'600 + 640);
}

TEST(PcmLane, a_converter_that_fails_costs_silence_of_one_buffer_and_is_renewed) {
    const LogCapture log;
    DriftingLane device(0);
    bool fails = false;
    struct Failing final : SampleRateConverter {
        explicit Failing(bool& now) : fails(now) {}
        void convert(std::span<const float> frames, std::vector<float>& output) override {
            if (fails) throw SampleRateError("no memory");
            output.insert(output.end(), frames.begin(), frames.end());
        }
        void finish(std::vector<float>& /*output*/) override {
            if (fails) throw SampleRateError("no memory");
        }
        bool& fails;
    };
    int made = 0;
    std::vector<float> heard;
    PcmLane lane(
        "mic",
        [&](double, std::size_t, double) {
            ++made;
            return std::make_unique<Failing>(fails);
        },
        {device.chunk, device.levels,
         [&](auto pcm) {
             heard.resize(heard.size() + pcm.size() / 2, pcm.size() > 1 && pcm[1] != std::byte{} ? 1 : 0);
         }},
        [](const std::string&) {});
    lane.setOrigin(device.start);
    const std::vector<float> piece(1'600, 0.5F);
    for (int i = 1; i <= 20; ++i) {
        fails = i == 10;
        lane.add({.format = {16'000, 1}, .samples = piece, .end = device.start + i * 100ms});
    }
    fails = true;
    lane.deviceChanged();
    EXPECT_EQ(heard.size(), 32'000U);
    EXPECT_EQ(std::ranges::count(heard, 0.0F), 1'600);
    EXPECT_EQ(heard[14'400], 0.0F);
    EXPECT_EQ(made, 2);
    EXPECT_TRUE(log.contains("sound is lost: no memory"));
}

} // namespace
} // namespace tavrin
