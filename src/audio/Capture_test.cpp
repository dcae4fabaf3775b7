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
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Ge;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Le;

/// A whole capture on virtual time, with a microphone and a speaker to play into.
class CaptureTest : public testing::Test {
protected:
    using Started = MixedAudioCaptureService::Started;

    CaptureTest() {
        capture.onMicPCMChunk.set([this](auto bytes) {
            micChunks.push_back(bytes.size());
            keep(mic, bytes);
        });
        capture.onSystemPCMChunk.set([this](auto bytes) { keep(system, bytes); });
        capture.onMicLevel.set([this](float level) { micLevels.push_back(level); });
    }

    static void keep(std::vector<float>& lane, std::span<const std::byte> bytes) {
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
            lane.push_back(static_cast<float>(static_cast<std::int16_t>(std::to_integer<int>(bytes[i]) |
                                                                        (std::to_integer<int>(bytes[i + 1]) << 8))) /
                           32'768.0F);
    }

    /// The task's error stands in `failures` later.
    void begin(Task<void> task) { tasks.spawn(noted(std::move(task))); }
    void start() {
        begin(startBoth());
        time.runUntilIdle();
    }

    /// Sound for a time, in pieces of 40 ms; what is not given is not heard.
    void play(Duration length, std::optional<float> intoMic, std::optional<float> intoSpeaker) {
        for (Duration passed{}; passed < length; passed += 40ms) {
            time.advance(40ms);
            if (intoMic) microphone.play(piece(microphone.format, *intoMic), time.now());
            if (intoSpeaker) tap.play(piece(tap.format, *intoSpeaker), time.now());
        }
        time.runUntilIdle();
    }
    static std::vector<float> piece(AudioFormat format, float level) {
        return std::vector<float>(static_cast<std::size_t>(format.sampleRate * 0.04) * format.channels, level);
    }

    /// Both lanes hear a loud sound at the same time of theirs.
    void expectAligned() {
        play(2s, 0.9F, 0.9F);
        const auto firstLoud = [](const std::vector<float>& lane) {
            return static_cast<double>(std::ranges::find_if(lane, [](float s) { return s >= 0.5F; }) - lane.begin());
        };
        EXPECT_NEAR(firstLoud(mic), firstLoud(system), 640);
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
    std::vector<std::size_t> micChunks;
    std::optional<Started> started;
    std::vector<std::string> failures;
    TaskScope tasks{time.main()};

private:
    Task<void> startBoth() { started = co_await capture.start(); }
    Task<void> noted(Task<void> task) {
        try {
            co_await std::move(task);
        } catch (const std::exception& error) {
            failures.emplace_back(error.what());
        }
    }
};

TEST_F(CaptureTest, a_tap_that_does_not_start_leaves_the_microphone_and_says_why) {
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
    EXPECT_THAT(failures, IsEmpty());
    time.advance(1ms);
    EXPECT_THAT(failures, ElementsAre(HasSubstr("did not start in time")));
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
    EXPECT_EQ(started, Started::both);
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
    expectAligned();
    EXPECT_NEAR(mic.back(), 0.9, 0.001);
    EXPECT_NEAR(system.back(), 0.9, 0.001);
    EXPECT_NEAR(micLevels.back(), 0.9, 0.001);
    EXPECT_NEAR(static_cast<double>(mic.size()), 9 * 16'000, 4'000);
    EXPECT_THAT(micChunks, Each(AllOf(Ge(minChunkBytes), Le(maxChunkBytes))));
    EXPECT_THAT(notes, Contains(HasSubstr("capture_gap_filled lane=mic samples=")));
}

TEST_F(CaptureTest, remount_that_fails_loses_the_microphone_until_it_is_back) {
    start();
    play(1s, 0.1F, 0.1F);
    std::vector<bool> told;
    capture.onMicrophoneLost = [&](bool isLost) { told.push_back(isLost); };
    const auto remount = [&] {
        begin(capture.remountMic());
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
    expectAligned();

    remount();
    capture.stop();
    time.advance(10s);
    EXPECT_FALSE(microphone.isHeard());
    EXPECT_EQ(failures.size(), 1U);
}

TEST_F(CaptureTest, start_that_times_out_leaves_a_newer_one_alone) {
    time.stall(engineQueue, 13s);
    time.stall(tapQueue, 13s);
    for (const Duration passes : {5s, 10s}) {
        begin(micCapture.start(false));
        begin(systemCapture.start());
        time.advance(passes);
    }
    EXPECT_EQ(failures.size(), 2U);
    EXPECT_TRUE(microphone.isHeard());
    EXPECT_TRUE(tap.isOpen());
}

TEST_F(CaptureTest, tap_that_says_nothing_for_a_while_stays_on_the_time_line) {
    start();
    play(1s, 0.1F, 0.1F);
    play(7s, 0.1F, std::nullopt);
    expectAligned();
}

TEST_F(CaptureTest, pieces_that_come_late_all_at_once_are_no_gap) {
    start();
    play(2s, 0.1F, 0.1F);
    time.advance(1s); // our own threads slept; the sound waited in the server
    for (int i = 0; i < 25; ++i)
        microphone.play(piece(microphone.format, 0.1F), time.now());
    play(8s, 0.1F, 0.1F);
    EXPECT_NEAR(static_cast<double>(mic.size()), 11 * 16'000, 4'800);
    EXPECT_THAT(notes, testing::Not(Contains(HasSubstr("lane=mic"))));
}

TEST_F(CaptureTest, long_silence_of_the_system_is_noted_once) {
    start();
    play(12s + 120ms, 0.1F, 0.0F);
    EXPECT_THAT(notes, ElementsAre("system_tap_sustained_silence_start windows=5"));
    play(2s, 0.1F, 0.5F);
    EXPECT_THAT(notes, Contains("system_tap_silence_ended afterWindows=6"));
}

TEST_F(CaptureTest, accumulated_take_holds_what_was_said_between) {
    begin(micCapture.start(false));
    time.runUntilIdle();
    play(1s, 0.1F, std::nullopt);
    std::vector<float> take;
    const auto stopAccumulating = [&] {
        take.clear();
        tasks.spawn([&] -> Task<void> { keep(take, co_await micCapture.stopAccumulating()); });
        time.runUntilIdle();
    };
    for (const bool stops : {false, true}) {
        micCapture.startAccumulating();
        play(1s, 0.5F, std::nullopt);
        play(40ms, 0.75F, std::nullopt);
        if (stops) micCapture.stop(); // what was taken can still be fetched
        stopAccumulating();
        EXPECT_EQ(take.size(), 16'640U + (stops ? 0 : FakeSampleRateConverter::holdsBack));
        EXPECT_NEAR(take.back(), 0.75, 0.001);
        EXPECT_NEAR(take[take.size() - 640], 0.75, 0.001);
    }
    micCapture.startAccumulating();
    play(1s, 0.5F, std::nullopt);
    stopAccumulating();
    EXPECT_THAT(take, IsEmpty());
}

/// One lane under a device whose clock differs: words of half a second, one every second and a half.
struct DriftingLane {
    explicit DriftingLane(double partsPerMillion,
                          SampleRateConverterFactory newConverter = FakeSampleRateConverter::factory())
        : rate(16'000 * (1 + partsPerMillion * 1e-6)), converters(std::move(newConverter)) {}

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
    SampleRateConverterFactory converters;
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
    PcmLane lane{"mic", converters, {chunk, levels, [this](auto pcm) { hear(pcm); }}, [this](std::string line) {
                     notes.push_back(std::move(line));
                 }};
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
            EXPECT_THAT(device.notes,
                        Each(testing::ContainsRegex("capture_lead_removed lane=mic samples=(19|2[01])[0-9]$")));
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
    bool fails = false;
    int made = 0;
    struct Failing final : SampleRateConverter {
        explicit Failing(const bool& now) : fails(now) {}
        void convert(std::span<const float> frames, std::vector<float>& output) override {
            if (fails) throw SampleRateError("no memory");
            output.insert(output.end(), frames.begin(), frames.end());
        }
        void finish(std::vector<float>& output) override { convert({}, output); }
        const bool& fails;
    };
    DriftingLane device(0, [&](double, std::size_t, double) {
        ++made;
        return std::make_unique<Failing>(fails);
    });
    device.lane.setOrigin(device.start);
    const std::vector<float> piece(1'600, 0.5F);
    for (int i = 1; i <= 20; ++i) {
        fails = i == 10;
        device.lane.add({.format = {16'000, 1}, .samples = piece, .end = device.start + i * 100ms});
    }
    fails = true;
    device.lane.deviceChanged();
    EXPECT_EQ(device.heard, 32'000);
    EXPECT_EQ(device.longest, 14'400);
    EXPECT_EQ(device.begin, 16'000) << "of what is heard behind the silence";
    EXPECT_EQ(made, 2);
    EXPECT_TRUE(log.contains("sound is lost: no memory"));
}

} // namespace
} // namespace tavrin
