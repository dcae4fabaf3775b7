// What the computer plays, through the sound server that the script around these tests has started.
#include "OwnPlayback.h"
#include "SoundFixture.h"
#include "platform/linux/LinuxSystemAudioTap.h"
#include "platform/linux/PulseAudioEngine.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <iostream>
#include <optional>

namespace tavrin {

namespace {

using Way = LinuxSystemAudioTap::Way;

constexpr Tone left{440, 0.5}, right{880, 0.25}, own{1500, 0.4}, second{660, 0.3};
constexpr double nothing = 0.003;

class SystemTapTest : public SoundTest, public testing::WithParamInterface<Way> {
protected:
    AudioFormat start() {
        return tap.start([this](const AudioBuffer& buffer) { recorder.take(buffer); });
    }
    [[nodiscard]] bool hasLinks() const { return GetParam() == Way::best && isPipeWire(); }

    Recorder recorder;
    LinuxSystemAudioTap tap{server, GetParam()};
};

TEST_P(SystemTapTest, what_plays_arrives_at_its_level_with_its_time) {
    EXPECT_TRUE(tap.isAvailable());
    EXPECT_EQ(tap.defaultOutput().uid, "tavrin_speaker");
    EXPECT_EQ(start(), (AudioFormat{48000, 2}));
    EXPECT_EQ(tap.method(), hasLinks() ? "links of all playback streams" : "monitor of tavrin_speaker.monitor");
    const Player player("sound_play_speaker tavrin_speaker '" + toneFile(left, right) + "'");
    EXPECT_TRUE(recorder.hears(left, 0));
    EXPECT_TRUE(recorder.hears(right, 1));
    EXPECT_LT(recorder.loudest(right.frequency, 400ms, 0), nothing) << "the channels are mixed";
    EXPECT_LT(recorder.loudest(left.frequency, 400ms, 1), nothing) << "the channels are mixed";
    const auto last = recorder.pieces().back();
    EXPECT_LT(last.arrival - last.end, 500ms);
    EXPECT_GT(last.arrival - last.end, -500ms);
    tap.stop();
    EXPECT_FALSE(recorder.waitForBuffers(1, 200ms));
}

/// A monitor hears all that the speaker plays, ours with it: that is how it is known to have been there.
TEST_P(SystemTapTest, own_sound_is_left_out_by_links_alone) {
    start();
    const OwnPlayback ours(own.frequency, own.amplitude);
    const Player other("sound_play_speaker tavrin_speaker '" + toneFile(left, right) + "'");
    EXPECT_TRUE(recorder.hears(left, 0));
    ASSERT_TRUE(eventually(3s, [&] { return ours.isPlaying(); }));
    if (hasLinks()) {
        EXPECT_LT(recorder.loudest(own.frequency, 1500ms), nothing);
        services("pactl set-sink-mute tavrin_speaker 1");
        EXPECT_TRUE(recorder.hears(left, 0)) << "the speaker's switch must not matter";
    } else {
        EXPECT_TRUE(recorder.hears(own, 0));
    }
}

TEST_P(SystemTapTest, two_streams_are_both_heard) {
    start();
    const Player one("sound_play_speaker tavrin_speaker '" + toneFile(left, right) + "'");
    const Player two("sound_play_speaker tavrin_speaker '" + toneFile(second, second) + "'");
    EXPECT_TRUE(recorder.hears(left, 0));
    EXPECT_TRUE(recorder.hears(second, 0));
}

TEST_P(SystemTapTest, another_default_speaker_is_followed) {
    start();
    services("sound_add_speaker another && sound_default_speaker another");
    {
        const Player player("sound_play_speaker another '" + toneFile(left, right) + "'");
        EXPECT_TRUE(recorder.hears(left, 0));
    }
    services("sound_remove another");
    const Player player("sound_play_speaker tavrin_speaker '" + toneFile(second, second) + "'");
    EXPECT_TRUE(recorder.hears(second, 1));
}

TEST_P(SystemTapTest, it_mends_itself_after_a_hang_and_after_a_restart) {
    start();
    ASSERT_TRUE(recorder.waitForBuffers(3));
    services("sound_freeze && sleep 4 && sound_thaw");
    EXPECT_TRUE(recorder.waitForGap(8s));
    {
        const Player player("sound_play_speaker tavrin_speaker '" + toneFile(left, right) + "'");
        EXPECT_TRUE(recorder.hears(left, 0));
    }
    services("sound_kill");
    EXPECT_FALSE(tap.isAvailable() && recorder.waitForBuffers(100, 200ms));
    services("sound_revive");
    EXPECT_TRUE(recorder.waitForGap(8s));
    const Player player("sound_play_speaker tavrin_speaker '" + toneFile(second, second) + "'");
    EXPECT_TRUE(recorder.hears(second, 0));
}

TEST_P(SystemTapTest, without_a_server_start_fails_at_once_and_with_one_it_works) {
    services("sound_kill");
    ASSERT_TRUE(eventually(2s, [&] { return !tap.isAvailable(); }));
    EXPECT_LT(secondsFor([&] {
                  try {
                      start();
                      ADD_FAILURE() << "started without a server";
                  } catch (const SystemAudioTapError& error) {
                      EXPECT_EQ(error.step, SystemAudioTapError::Step::tap);
                      EXPECT_NE(error.status, 0);
                  }
              }),
              1);
    EXPECT_THROW((void)tap.defaultOutput(), SystemAudioTapError);
    EXPECT_TRUE(tap.outputs().empty());
    services("sound_revive");
    start();
    EXPECT_TRUE(recorder.waitForBuffers(3));
}

INSTANTIATE_TEST_SUITE_P(Ways, SystemTapTest, testing::Values(Way::best, Way::monitor),
                         [](const auto& way) { return way.param == Way::best ? "best" : "monitor"; });

/// When the first click sounded, on the clock of the lane.
std::optional<SteadyInstant> firstClick(const Recorder& recorder) {
    for (const auto& piece : recorder.pieces()) {
        const auto click = std::ranges::find_if(piece.samples, [](float sample) { return sample > 0.2F; });
        if (click == piece.samples.end()) continue;
        const auto after = double(piece.samples.end() - click) / double(piece.format.channels);
        return piece.end - Duration(static_cast<Duration::rep>(after / piece.format.sampleRate * 1e9));
    }
    return std::nullopt;
}

class BothLanesTest : public SoundTest, public testing::WithParamInterface<Way> {};

/// A microphone made of what the speaker plays hears a click when the system lane does.
TEST_P(BothLanesTest, one_click_has_one_time_and_recording_costs_little) {
    services("sound_add_echo echo && sound_default_microphone echo");
    ASSERT_TRUE(eventually(2s, [&] { return server.snapshot()->defaults.source == "echo"; }));
    Recorder heard, played;
    PulseAudioEngine engine(server);
    LinuxSystemAudioTap tap(server, GetParam());
    engine.prepare();
    engine.installTap(2048, [&](const AudioBuffer& buffer) { heard.take(buffer); });
    engine.start();
    tap.start([&](const AudioBuffer& buffer) { played.take(buffer); });
    const std::clock_t before = std::clock();
    const double seconds = secondsFor([&] { services("sound_play_speaker tavrin_speaker '" + clickFile() + "'"); });
    const double share = double(std::clock() - before) / CLOCKS_PER_SEC / seconds;
    const auto inMicrophone = firstClick(heard), inSystem = firstClick(played);
    ASSERT_TRUE(inMicrophone && inSystem);
    const double apart = std::chrono::duration<double>(*inMicrophone - *inSystem).count();
    std::cout << "microphone after system sound: " << 1000 * apart << " ms; both take " << share << " of a core\n";
    EXPECT_LT(std::abs(apart), 0.06);
    EXPECT_LT(share, 0.25);
}

INSTANTIATE_TEST_SUITE_P(Ways, BothLanesTest, testing::Values(Way::best, Way::monitor),
                         [](const auto& way) { return way.param == Way::best ? "best" : "monitor"; });

} // namespace

} // namespace tavrin
