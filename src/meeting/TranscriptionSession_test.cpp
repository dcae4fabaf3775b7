#include "meeting/MeetingMessages.h"
#include "meeting/WorldTestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Phase = MeetingStatus::Phase;

class TranscriptionSessionTest : public testing::Test {
protected:
    [[nodiscard]] std::string interim() const { return *world->session.state.interimPartial; }

    /// Three seconds of one voice, then silence enough for its chunk to end.
    void speak(std::optional<float> me, std::optional<float> them) {
        world->play(2s, me.value_or(0), them.value_or(0));
        world->play(800ms, 0.0F, 0.0F);
    }

    /// Of the only meeting on the disk; an empty one where there is none.
    [[nodiscard]] TranscriptCheckpoint checkpoint() const {
        for (const std::string& name : world->recordings())
            if (name.ends_with("-checkpoint.json"))
                return TranscriptCheckpoint::parse(world->disk.read("TavrinAssistant/Recordings/" + name, 1 << 20))
                    .value();
        ADD_FAILURE() << "no checkpoint";
        return {};
    }

    const LogCapture logged;
    MemoryFolder disk;
    std::unique_ptr<World> world = std::make_unique<World>(disk);
};

TEST_F(TranscriptionSessionTest, start_without_what_it_needs_touches_nothing) {
    world->token = "  ";
    world->start();
    EXPECT_EQ(*world->session.state.status, MeetingStatus::error(std::string(messages::tokenMissing)));
    world->token = "tavrin_x";
    world->mayUseMicrophone = false;
    world->start();
    EXPECT_EQ(*world->session.state.status, MeetingStatus::error(std::string(messages::microphoneDenied)));
    world->mayUseMicrophone = true;
    world->isDictating = true;
    world->start();
    EXPECT_EQ(world->phase(), Phase::error);
    EXPECT_THAT(world->recordings(), IsEmpty());
}

TEST_F(TranscriptionSessionTest, sound_is_saved_while_the_model_loads_and_the_user_sees_how_long) {
    world->engines.loadTime = 40s;
    world->start();
    EXPECT_EQ(world->phase(), Phase::loadingModel);
    EXPECT_EQ(interim(), messages::loadingFirst);
    world->play(2s - 40ms, 0.2F, 0.2F);
    EXPECT_EQ(interim(), messages::loadingFirst);
    world->play(40ms, 0.2F, 0.2F);
    EXPECT_EQ(interim(), "Recording now — loading speech model… (2s)");
    world->play(2s, 0.2F, 0.2F);
    EXPECT_EQ(*world->session.state.processingStatusMessage, "Recording — loading speech model… (4s)");
    world->start(); // a second click
    EXPECT_EQ(world->engines.loads, 1);
    world->play(36s, 0.2F, 0.2F);
    EXPECT_EQ(world->phase(), Phase::recording);
    EXPECT_EQ(*world->session.state.processingStatusMessage, std::nullopt);
    EXPECT_GT(world->samplesOnDisk("-me.pcm"), 16'000U * 38);
}

TEST_F(TranscriptionSessionTest, stop_during_model_load_keeps_audio) {
    world->engines.loadTime = 40s;
    world->start();
    world->play(5s, 0.2F, 0.2F);
    world->finish(world->session.stopRecording());
    EXPECT_EQ(world->phase(), Phase::idle);
    world->time.advance(60s); // the load ends, and nobody wants it
    EXPECT_EQ(world->phase(), Phase::idle);
    EXPECT_FALSE(world->microphone.isHeard());
    EXPECT_GT(world->samplesOnDisk("-me.pcm"), 16'000U * 4);
    EXPECT_THAT(*world->session.state.transcriptTitle, StartsWith("Meeting "));
    world->session.setTranscriptTitle("Spring launch");
    world->time.runUntilIdle();
    EXPECT_EQ(checkpoint().title, "Spring launch") << "the meeting on screen is still that one";
}

TEST_F(TranscriptionSessionTest, what_has_begun_stands_in_the_way_of_nothing_that_comes_next) {
    world->engines.loadTime = 40s;
    world->start();
    world->session.pauseRecording();
    world->time.runUntilIdle();
    EXPECT_EQ(world->phase(), Phase::paused);
    world->session.resume();
    world->time.runUntilIdle();
    EXPECT_EQ(world->phase(), Phase::loadingModel);
    EXPECT_TRUE(world->microphone.isHeard());
    world->finish(world->session.stopRecording());
    world->start();
    EXPECT_EQ(world->phase(), Phase::loadingModel);
    world->time.advance(60s);
    EXPECT_EQ(world->phase(), Phase::recording);

    world->session.pauseRecording();
    world->time.runUntilIdle();
    EXPECT_EQ(world->phase(), Phase::paused);
    world->session.resume(); // which is opening its devices when it is stopped
    world->finish(world->session.stopRecording());
    world->time.advance(10s);
    EXPECT_EQ(world->phase(), Phase::idle);
    EXPECT_FALSE(world->microphone.isHeard());
}

TEST_F(TranscriptionSessionTest, nothing_begins_while_a_stop_waits_for_the_disk) {
    world->start();
    world->play(2s, 0.2F, {});
    disk.limitCapacity(0);
    world->play(2s, 0.2F, {});
    world->session.pauseRecording();
    world->time.runUntilIdle();
    ASSERT_EQ(world->phase(), Phase::paused);
    world->session.stop();
    world->time.advance(1s);
    world->session.resume();
    world->start();
    world->time.advance(20s);
    EXPECT_EQ(world->phase(), Phase::idle);
    EXPECT_FALSE(world->microphone.isHeard());

    world->start(); // what the last meeting could not write is not forgotten
    disk.limitCapacity(std::nullopt);
    world->play(2s, {}, {});
    EXPECT_GT(world->samplesOnDisk("-me.pcm"), 16'000U * 3);
}

TEST_F(TranscriptionSessionTest, failed_load_keeps_what_was_said_and_nothing_else) {
    world->start();
    speak(0.2F, {});
    world->finish(world->session.stopRecording());
    ASSERT_GT(checkpoint().meTranscribedSamples, 0);
    for (const std::string& name : world->recordings())
        disk.remove("TavrinAssistant/Recordings/" + name);

    world->engines.failLoad = "broken model";
    world->start();
    EXPECT_EQ(*world->session.state.status, MeetingStatus::error("broken model"));
    world->time.advance(5s);
    EXPECT_THAT(world->recordings(), IsEmpty());

    world->engines.loadTime = 3s;
    world->start();
    world->play(3s, 0.2F, 0.2F);
    world->time.advance(5s);
    EXPECT_EQ(*world->session.state.status, MeetingStatus::error("broken model"));
    EXPECT_EQ(checkpoint().meTranscribedSamples, 0) << "none of the meeting before";
    EXPECT_GT(world->samplesOnDisk("-me.pcm"), 16'000U * 2);
}

TEST_F(TranscriptionSessionTest, meeting_without_system_sound_says_so) {
    world->tap.available = false;
    world->start();
    EXPECT_EQ(*world->session.state.systemAudioNotice,
              std::string(messages::microphoneOnly) + std::string(messages::allowSystemAudio));
    EXPECT_FALSE(*world->session.state.systemAudioActive);
    speak(0.2F, {});
    EXPECT_THAT(world->texts(), ElementsAre(StartsWith("Me: ")));
}

TEST_F(TranscriptionSessionTest, pause_finishes_what_was_said_and_resume_goes_on_in_the_same_files) {
    world->start();
    EXPECT_EQ(world->phase(), Phase::recording);
    world->play(2s, 0.2F, 0.0F);
    EXPECT_GT(*world->session.state.micAudioLevel, 0.0F);
    world->session.pauseRecording();
    EXPECT_EQ(world->phase(), Phase::processing);
    EXPECT_THAT(world->powerActivity.reasons, ElementsAre(std::string(messages::finishingActivity)));
    world->time.runUntilIdle();
    EXPECT_EQ(world->phase(), Phase::paused);
    EXPECT_THAT(world->texts(), ElementsAre(StartsWith("Me: ")));
    EXPECT_NEAR(world->session.activeRecordingDuration(), 2, 0.1);
    const std::size_t before = world->samplesOnDisk("-me.pcm");

    world->time.advance(10min);
    world->finish(world->session.resumeRecording());
    EXPECT_EQ(world->phase(), Phase::recording);
    speak({}, 0.2F);
    world->finish(world->session.stopRecording());
    EXPECT_THAT(world->texts(), ElementsAre(StartsWith("Me: me heard"), StartsWith("Them: them heard")));
    EXPECT_THAT(world->recordings(), Contains(HasSubstr("-segments.jsonl")));
    EXPECT_GT(world->samplesOnDisk("-me.pcm"), before + 40'000);
    EXPECT_LT(world->samplesOnDisk("-me.pcm"), before + 60'000);
    EXPECT_NEAR(static_cast<double>(world->samplesOnDisk("-me.pcm")),
                static_cast<double>(world->samplesOnDisk("-them.pcm")), 4'000);
    EXPECT_NEAR(world->session.activeRecordingDuration(), 4.8, 0.2);
    EXPECT_EQ(world->powerActivity.held, 0);
}

TEST_F(TranscriptionSessionTest, result_that_comes_two_seconds_after_the_end_is_dropped_and_just_before_it_counts) {
    for (const auto& [duration, lines] : {std::pair(2s - 1ms, 1U), std::pair(2s + 1ms, 0U)}) {
        world = std::make_unique<World>(disk);
        world->engines.transcriptionTime = duration;
        world->start();
        world->play(2s, 0.2F, 0.0F);
        world->finish(world->session.stopRecording());
        world->time.advance(10s);
        EXPECT_EQ(world->texts().size(), lines);
        EXPECT_EQ(world->phase(), Phase::idle);
    }
}

TEST_F(TranscriptionSessionTest, chunk_on_which_the_engine_fails_costs_that_chunk_only) {
    int chunks = 0;
    world->engines.say = [&](const char*, const std::vector<float>&) -> std::string {
        if (++chunks == 2) throw std::runtime_error("no memory");
        return "chunk " + std::to_string(chunks);
    };
    world->start();
    for (int i = 0; i < 3; ++i)
        speak(0.2F, {});
    EXPECT_THAT(world->texts(), ElementsAre("Me: chunk 1", "Me: chunk 3"));
    EXPECT_EQ(world->phase(), Phase::recording);
}

TEST_F(TranscriptionSessionTest, words_that_a_forced_cut_repeats_stand_once) {
    int chunks = 0;
    world->engines.say = [&](const char*, const std::vector<float>&) {
        return std::string(++chunks == 1 ? "we start with the first" : "the first point today");
    };
    world->start();
    world->play(6s, 0.2F, 0.0F);
    EXPECT_THAT(world->texts(), ElementsAre("Me: we start with the first", "Me: point today"));
}

TEST_F(TranscriptionSessionTest, silent_microphone_in_a_call_is_opened_anew_once_and_then_told) {
    world->start();
    const int before = world->microphone.starts;
    world->play(19 * 40ms, 0.0F, 0.5F);
    EXPECT_EQ(world->microphone.starts, before);
    world->play(12 * 40ms, 0.0F, 0.5F); // the first pieces wait for their place on the time line
    EXPECT_EQ(world->microphone.starts, before + 1);
    EXPECT_EQ(*world->session.state.systemAudioNotice, std::nullopt);
    world->play(40 * 40ms, 0.0F, 0.5F);
    EXPECT_EQ(*world->session.state.systemAudioNotice, std::string(messages::microphoneQuiet));
    world->play(10s, 0.0F, 0.5F);
    EXPECT_EQ(world->microphone.starts, before + 1);
}

TEST_F(TranscriptionSessionTest, full_disk_is_told_and_then_what_it_has_cost) {
    world->start();
    world->play(5s, 0.2F, 0.2F);
    disk.limitCapacity(0);
    world->play(80s, 0.2F, 0.2F);
    EXPECT_EQ(*world->session.state.saveNotice, std::string(messages::cannotSave));
    disk.limitCapacity(std::nullopt);
    world->play(5s, 0.2F, 0.2F);
    EXPECT_THAT(world->session.state.saveNotice->value(), HasSubstr("s of sound are missing"));
    EXPECT_EQ(world->phase(), Phase::recording);
}

TEST_F(TranscriptionSessionTest, checkpoint_is_written_every_minute) {
    world->start();
    speak(0.2F, {});
    EXPECT_THAT(checkpoint().segments, IsEmpty());
    world->time.advance(60s - 2'840ms);
    EXPECT_THAT(checkpoint().segments, IsEmpty());
    world->time.advance(40ms);
    EXPECT_EQ(checkpoint().segments.size(), 1U);
}

TEST_F(TranscriptionSessionTest, meeting_survives_a_power_cut_at_any_moment) {
    for (int tenths = 2; tenths < 80; tenths += 7) {
        MemoryFolder fragile;
        world = std::make_unique<World>(fragile);
        world->start();
        world->play(tenths * 100ms, 0.2F, 0.2F);
        const std::size_t lines = world->texts().size();
        fragile.restart({});
        world.reset();
        fragile.restart({});

        world = std::make_unique<World>(fragile);
        world->finish(world->session.restoreOpenMeeting());
        const double seconds = static_cast<double>(world->samplesOnDisk("-me.pcm")) / 16'000;
        EXPECT_GE(seconds, (tenths * 0.1) - 1.5) << tenths; // a second, and what is on its way in chunks
        EXPECT_GE(world->texts().size() + 1, lines);
        EXPECT_EQ(world->phase(), Phase::idle);
        EXPECT_EQ(*world->session.state.isRestored, seconds > 0 || lines > 0) << tenths;
    }
}

TEST_F(TranscriptionSessionTest, new_meeting_after_a_pause_leaves_the_old_one_on_disk) {
    world->start();
    speak(0.2F, {});
    world->session.pauseRecording();
    world->time.runUntilIdle();
    world->start();
    EXPECT_THAT(world->texts(), IsEmpty());
    speak(0.2F, {});
    EXPECT_THAT(world->recordings(), testing::SizeIs(testing::Ge(6U)));
}

} // namespace
} // namespace tavrin
