// The microphone, through the sound server that the script around these tests has started.
#include "SoundFixture.h"
#include "platform/linux/PulseAudioDevices.h"
#include "platform/linux/PulseAudioEngine.h"

#include <gmock/gmock.h>

namespace tavrin {

namespace {

using testing::AllOf;
using testing::Contains;
using testing::Field;
using testing::Not;

constexpr Tone left{440, 0.5}, right{880, 0.25}, spoken{1000, 0.5};
constexpr double nothing = 0.003;

class MicrophoneTest : public SoundTest {
protected:
    void start() {
        engine.prepare();
        engine.installTap(2048, [this](const AudioBuffer& buffer) { recorder.take(buffer); });
        engine.start();
    }

    Recorder recorder;
    PulseAudioEngine engine{server};
};

TEST_F(MicrophoneTest, each_channel_arrives_at_its_level_in_short_pieces_with_its_time) {
    start();
    EXPECT_EQ(engine.inputFormat(), (AudioFormat{48000, 2}));
    const Player player("sound_play_microphone tavrin_microphone '" + toneFile(left, right) + "'");
    EXPECT_TRUE(recorder.hears(left, 0));
    EXPECT_TRUE(recorder.hears(right, 1));
    EXPECT_LT(recorder.loudest(right.frequency, 400ms, 0), nothing) << "the channels are mixed";
    EXPECT_TRUE(engine.isRunning());

    const auto pieces = recorder.pieces();
    const auto& last = pieces.back();
    EXPECT_FALSE(pieces.front().followsGap);
    EXPECT_EQ(last.format, engine.inputFormat());
    EXPECT_LT(last.samples.size() / 2, 4800U);
    const auto age = last.arrival - last.end;
    EXPECT_LT(age, 1s);
    EXPECT_GT(age, -100ms);
}

TEST_F(MicrophoneTest, nothing_comes_after_stop_or_removal_and_start_begins_again) {
    start();
    ASSERT_TRUE(recorder.waitForBuffers(3));
    engine.stop();
    const auto before = recorder.pieces().size();
    EXPECT_FALSE(recorder.waitForBuffers(1, 200ms));
    EXPECT_EQ(recorder.pieces().size(), before);
    EXPECT_FALSE(engine.isRunning());

    engine.start();
    ASSERT_TRUE(recorder.waitForBuffers(3));
    EXPECT_TRUE(recorder.pieces()[before].followsGap);
    engine.removeTap();
    EXPECT_FALSE(recorder.waitForBuffers(1, 200ms));
    EXPECT_TRUE(engine.isRunning());
    EXPECT_THROW(engine.setVoiceProcessingEnabled(true), AudioEngineError);
}

TEST_F(MicrophoneTest, speakers_are_never_recorded_even_when_the_last_microphone_goes) {
    start();
    const Player player("sound_play_speaker tavrin_speaker '" + toneFile(spoken, spoken) + "'");
    EXPECT_LT(recorder.loudest(spoken.frequency, 1s), nothing);
    services("sound_remove tavrin_microphone");
    EXPECT_LT(recorder.loudest(spoken.frequency, 1s), nothing) << "moved onto the speaker";
    EXPECT_TRUE(eventually(4s, [&] { return !engine.isRunning(); }));
    PulseAudioDevices devices(server);
    EXPECT_TRUE(eventually(2s, [&] { return devices.inputs().empty(); }));
    EXPECT_EQ(devices.defaultInput(), std::nullopt);
    EXPECT_THROW(engine.start(), AudioEngineError);
    engine.prepare();
    EXPECT_EQ(engine.inputFormat().channels, 0U);
    EXPECT_LT(recorder.loudest(spoken.frequency, 1s), nothing);

    services("sound_add_microphone another && sound_default_microphone another");
    ASSERT_TRUE(eventually(3s, [&] { return devices.defaultInput().has_value(); }));
    EXPECT_EQ(devices.defaultInput()->uid, "another");
    engine.start();
    const Player voice("sound_play_microphone another '" + toneFile(left, right) + "'");
    EXPECT_TRUE(recorder.hears(left, 0));
    // A tone that the server tears has a little of every frequency.
    EXPECT_LT(recorder.loudest(spoken.frequency, 500ms), 5 * nothing);
}

TEST_F(MicrophoneTest, another_default_stops_the_engine_and_start_takes_it) {
    start();
    services("sound_add_microphone another && sound_default_microphone another");
    EXPECT_TRUE(eventually(5s, [&] { return !engine.isRunning(); }));
    engine.start();
    EXPECT_TRUE(engine.isRunning());
    const Player player("sound_play_microphone another '" + toneFile(left, right) + "'");
    EXPECT_TRUE(recorder.hears(left, 0));
}

TEST_F(MicrophoneTest, a_source_that_falls_silent_stops_the_engine_though_the_server_answers) {
    start();
    ASSERT_TRUE(recorder.waitForBuffers(3));
    services("sound_stall");
    EXPECT_TRUE(eventually(4s, [&] { return !engine.isRunning(); }));
    EXPECT_TRUE(server.snapshot()->isConnected);
}

TEST_F(MicrophoneTest, a_server_that_hangs_or_dies_stops_the_engine_and_calls_stay_short) {
    start();
    ASSERT_TRUE(recorder.waitForBuffers(3));
    services("sound_freeze");
    EXPECT_TRUE(eventually(4s, [&] { return !engine.isRunning(); }));
    EXPECT_LT(secondsFor([&] { EXPECT_THROW(engine.start(), AudioEngineError); }), 5);
    EXPECT_LT(secondsFor([&] { engine.stop(); }), 0.1);
    services("sound_thaw");
    EXPECT_TRUE(eventually(5s, [&] { return server.snapshot()->microphone() != nullptr; }));
    engine.start();
    EXPECT_TRUE(recorder.waitForBuffers(3));

    services("sound_kill");
    EXPECT_TRUE(eventually(1s, [&] { return !engine.isRunning(); }));
    EXPECT_LT(secondsFor([&] { EXPECT_THROW(engine.start(), AudioEngineError); }), 1);
    services("sound_revive");
    EXPECT_TRUE(eventually(4s, [&] { return server.snapshot()->microphone() != nullptr; }));
    engine.start();
    EXPECT_TRUE(recorder.waitForBuffers(3));
}

TEST_F(SoundTest, devices_are_told_with_names_and_their_changes) {
    PulseAudioDevices devices(server);
    EXPECT_EQ(devices.defaultOutput()->uid, "tavrin_speaker");
    EXPECT_EQ(devices.defaultInput()->name, "tavrin_microphone");
    EXPECT_THAT(devices.inputs(), Not(Contains(Field(&AudioDevice::uid, "tavrin_speaker.monitor"))));
    std::atomic<int> changes = 0;
    devices.onChange([&] { ++changes; });
    services("sound_add_microphone another");
    EXPECT_TRUE(eventually(2s, [&] { return changes > 0; }));
    EXPECT_TRUE(eventually(
        2s, [&] { return testing::Value(devices.inputs(), Contains(Field(&AudioDevice::uid, "another"))); }));

    services("sound_add_speaker headset 'device.bus=bluetooth'");
    EXPECT_TRUE(eventually(2s, [&] {
        return testing::Value(devices.outputs(),
                              Contains(AllOf(Field(&AudioDevice::uid, "headset"),
                                             Field(&AudioDevice::transport, AudioDevice::Transport::bluetooth))));
    }));

    services("sound_freeze");
    EXPECT_TRUE(eventually(5s, [&] { return devices.outputs().empty(); })) << "a hang goes unnoticed";
    services("sound_thaw");
    EXPECT_TRUE(eventually(5s, [&] { return devices.defaultInput().has_value(); }));
    services("sound_kill");
    EXPECT_TRUE(eventually(2s, [&] { return devices.outputs().empty() && !devices.defaultInput(); }));
    devices.onChange({});
    const int before = changes;
    services("sound_revive");
    EXPECT_TRUE(eventually(4s, [&] { return devices.defaultInput().has_value(); }));
    EXPECT_EQ(changes, before);
}

} // namespace

} // namespace tavrin
