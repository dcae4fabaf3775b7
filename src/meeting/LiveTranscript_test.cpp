#include "meeting/LiveTranscript.h"
#include "meeting/MeLines.h"
#include "meeting/WorldTestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* longSpeech = "the labels have to be fixed by monday noon";

std::shared_ptr<const VocabularyCorrector> correcting(const std::string& heard, const std::string& correct) {
    return std::make_shared<const VocabularyCorrector>(
        std::vector<VocabularyCorrection>{{.id = "1", .variants = {heard}, .correct = correct}});
}

/// A transcript of its own, without capture.
class LiveTranscriptTest : public testing::Test {
protected:
    LiveTranscriptTest() { state.status = MeetingStatus{.phase = MeetingStatus::Phase::recording}; }

    void say(const char* label, const std::string& text, double second) {
        transcript.addSegment({.text = text,
                               .speakerLabel = label,
                               .date = Date(second),
                               .applyEchoGuard = std::string_view(label) == "Me"});
    }
    void correct(const std::string& heard, const std::string& correct) {
        vocabulary = correcting(heard, correct);
        TaskScope tasks{time.main()};
        tasks.spawn(transcript.applyVocabulary());
        time.runUntilIdle();
    }
    [[nodiscard]] std::vector<std::string> lines() const { return linesOf(state); }

    VirtualTime time;
    SessionState state{time.main()};
    OpenMeeting meeting;
    std::shared_ptr<const VocabularyCorrector> vocabulary;
    std::vector<std::string> notes;
    LiveTranscript transcript{{.main = time.main(),
                               .background = time.addExecutor(),
                               .vocabulary = [this] { return vocabulary; },
                               .note = [this](std::string line) { notes.push_back(std::move(line)); }},
                              state,
                              meeting};
};

TEST_F(LiveTranscriptTest, lines_come_clean_corrected_and_in_order) {
    vocabulary = correcting("Holden", "Halden");
    say("Me", "[BLANK_AUDIO]", 1);
    say("Me", "Okay.", 1);
    say("Them", "I spoke to Holden I spoke to Holden.", 9);
    say("Me", "Good. Thanks for watching!", 5);
    say("Them", "And then?", 9);
    EXPECT_THAT(lines(), ElementsAre("Me: Good", "Them: I spoke to Halden", "Them: And then"));
    const auto& all = *state.segments;
    EXPECT_NEAR(all[1].date.secondsSince(Date(9)), 0.001, 1e-6); // noise takes no place in the order
    EXPECT_NEAR(all[2].date.secondsSince(all[1].date), 0.002, 1e-6);
}

TEST_F(LiveTranscriptTest, what_the_microphone_heard_of_the_other_side_is_no_line_of_mine) {
    const auto linesAfter = [&](double later, const std::string& mine, bool systemAudio = true) {
        transcript.clear();
        state.systemAudioActive = systemAudio;
        say("Them", longSpeech, 100);
        say("Me", mine, 100 + later);
        return lines().size() - 1;
    };
    EXPECT_EQ(linesAfter(0.5, longSpeech), 0U);
    EXPECT_EQ(linesAfter(-40, longSpeech), 0U);
    EXPECT_EQ(linesAfter(49, longSpeech), 0U);
    EXPECT_EQ(linesAfter(51, longSpeech), 1U);
    EXPECT_EQ(linesAfter(0.5, "monday noon then"), 1U); // too short to tell
    EXPECT_EQ(linesAfter(0.5, "that is fine with me, I will tell the printer"), 1U);
    EXPECT_EQ(linesAfter(0.5, longSpeech, false), 1U);
    meeting = {.isDraining = true, .hadSystemAudio = true};
    EXPECT_EQ(linesAfter(0.5, longSpeech, false), 0U);
}

TEST_F(LiveTranscriptTest, a_changed_correction_mends_what_the_former_one_made) {
    state.systemAudioActive = true;
    say("Them", "Holden wants it", 1);
    say("Them", longSpeech, 2);
    correct("Holden", "Haldne");
    EXPECT_EQ(lines().front(), "Them: Haldne wants it");
    say("Them", "so Holden wants it", 3);
    say("Me", std::string(longSpeech) + " and I told Holden yesterday", 4);
    EXPECT_EQ(lines().back(), "Me: and I told Haldne yesterday") << "the echo was cut";
    correct("Holden", "Halden");
    EXPECT_THAT(lines(), ElementsAre("Them: Halden wants it", testing::_, "Them: so Halden wants it",
                                     "Me: and I told Haldne yesterday"));
    correct("Haldne", "Holden Foods");
    correct("Holden", "Holden Foods");
    correct("Holden", "Holden Foods");
    EXPECT_THAT(lines(), ElementsAre("Them: Holden Foods wants it", testing::_, "Them: so Holden Foods wants it",
                                     "Me: and I told Haldne yesterday"));
}

TEST_F(LiveTranscriptTest, a_restored_line_is_not_corrected_twice) {
    transcript.restore({{.speakerLabel = "Me", .text = "Halden Foods, or Halden", .date = Date(1)}});
    for (int i = 0; i < 2; ++i) {
        correct("halden", "Halden Foods");
        EXPECT_THAT(lines(), ElementsAre("Me: Halden Foods, or Halden Foods"));
    }
    correct("halden", "Haldane");
    EXPECT_THAT(lines(), ElementsAre("Me: Haldane Foods, or Haldane"));
}

TEST_F(LiveTranscriptTest, my_lines_wait_for_words_of_the_same_time_but_not_for_ever) {
    bool mayFollow = true;
    MeLines wait(time.main(), transcript, [&](Date) { return mayFollow; });
    const auto mine = [&](const std::string& text) {
        wait.add({.from = Date(98), .to = Date(100), .text = text, .date = Date(100.5), .samples = 40'000},
                 meeting.transcriptWorkGeneration, {});
    };
    state.systemAudioActive = true;
    mine(longSpeech);
    mine("now that is good news");
    time.advance(7s);
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_EQ(wait.heldSamples(), 80'000);
    say("Them", longSpeech, 100.1);
    mayFollow = false;
    time.advance(100ms);
    EXPECT_EQ(wait.heldSamples(), 0);
    EXPECT_THAT(lines(), ElementsAre(std::string("Them: ") + longSpeech, "Me: now that is good news"));
    EXPECT_THAT(notes, ElementsAre("live_echo_dropped label=Me reason=words words=9 kept=0"));

    mayFollow = true;
    mine("so we can begin on Friday");
    time.advance(MeLines::longestWait - 100ms);
    EXPECT_EQ(lines().size(), 2U);
    time.advance(100ms);
    EXPECT_EQ(lines().size(), 3U);
    mine("and the second lorry comes later");
    state.status = MeetingStatus{};
    wait.release(); // the meeting is over: too late
    EXPECT_EQ(lines().size(), 3U);
}

/// As a lane gives it: cut off half a second after the speech.
SpokenStretch said(double from, double to, const char* text, double likeness = 0) {
    const auto speech = static_cast<std::size_t>((to - from) * 16'000);
    const SpeechChunk chunk{
        .samples = std::vector<float>(speech + 8'000), .date = Date(to + 0.5), .trailingSilence = 8'000};
    return spoken(chunk, text, likeness);
}

TEST_F(LiveTranscriptTest, line_is_dropped_if_the_other_side_said_it_at_that_very_time) {
    MeLines mine(time.main(), transcript, [](Date) { return false; });
    mine.themSaid(said(95, 98, "The labels have to be"));
    mine.themSaid(said(98, 101, "fixed by Monday noon."));
    struct Case {
        double from, to;
        const char* text;
        double likeness;
        bool stays;
    };
    for (const Case& c : {Case{99, 100.8, "Monday noon", 0.6, false}, Case{99, 101.4, "Monday, noon!", 0.9, false},
                          Case{96.5, 99.5, "be fixed by", 0.9, false}, Case{99, 100.8, "Tuesday noon", 0.9, true},
                          Case{101.2, 102.2, "Monday noon", 0.9, true}, Case{93, 95, "the labels", 0.9, true},
                          Case{99, 100.8, "Monday noon is fine with me", 0.9, true},
                          Case{99, 100.8, "fixed by Mandy noon", 0.9, false}, //
                          Case{101.1, 101.5, "Monday.", 0, true},             // an answer at once
                          Case{100.6, 101.2, "Monday noon.", 0.4, true}}) {   // over the end of the question
        transcript.clear();
        notes.clear();
        mine.add(said(c.from, c.to, c.text, c.likeness), meeting.transcriptWorkGeneration, {});
        EXPECT_EQ(lines().size(), c.stays ? 1U : 0U) << c.text << " until " << c.to;
        EXPECT_EQ(notes.size(), c.stays ? 0U : 1U);
    }
}

TEST(LiveTranscriptOfAMeeting, echo_of_the_last_words_is_dropped_though_the_engine_takes_them_first) {
    MemoryFolder disk;
    World world(disk);
    world.engines.transcriptionTime = 300ms;
    world.engines.say = [](const char*, const auto&) { return std::string(longSpeech); };
    world.start();
    world.play(2s, 0.1F, 0.4F);
    world.finish(world.session.stopRecording());
    EXPECT_THAT(world.texts(), ElementsAre(std::string("Them: ") + longSpeech));
}

TEST(LiveTranscriptOfAMeeting, corrections_reach_screen_and_disk_and_survive_a_crash) {
    MemoryFolder disk;
    auto world = std::make_unique<World>(disk);
    world->engines.say = [](const char*, const auto&) { return "we met Holden today"; };
    world->start();
    world->play(2s, 0.2F, 0.0F);
    world->play(800ms, 0.0F, 0.0F);
    for (const char* typed : {"Haldne", "Halden"}) { // a slip first
        world->vocabulary = correcting("Holden", typed);
        world->session.vocabularyChanged();
        world->time.runUntilIdle();
    }
    EXPECT_THAT(world->texts(), ElementsAre("Me: we met Halden today"));
    world->play(2s, 0.0F, 0.0F);
    world = std::make_unique<World>(disk);
    world->finish(world->session.restoreOpenMeeting());
    EXPECT_THAT(world->texts(), ElementsAre("Me: we met Halden today"));
}

} // namespace
} // namespace tavrin
