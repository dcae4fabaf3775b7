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
    [[nodiscard]] std::vector<std::string> lines() const {
        std::vector<std::string> result;
        for (const TranscriptSegment& line : *state.segments)
            result.push_back(line.speakerLabel + ": " + line.text);
        return result;
    }

    VirtualTime time;
    SessionState state{time.main()};
    OpenMeeting meeting;
    std::shared_ptr<const VocabularyCorrector> vocabulary;
    std::size_t recounted = 0;
    LiveTranscript transcript{{.main = time.main(),
                               .background = time.addExecutor(),
                               .vocabulary = [this] { return vocabulary; },
                               .recountSpeakers = [this](auto all) { recounted = all.size(); }},
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
    EXPECT_EQ(recounted, 3U);
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

TEST_F(LiveTranscriptTest, new_correction_mends_what_stands) {
    say("Them", "Holden wants it", 1);
    say("Me", "who is that", 2);
    vocabulary = correcting("holden", "Halden");
    TaskScope tasks{time.main()};
    tasks.spawn(transcript.applyVocabulary());
    say("Them", "Mister Holden himself", 3); // while it is worked out
    time.runUntilIdle();
    EXPECT_THAT(lines(), ElementsAre("Them: Halden wants it", "Me: who is that", "Them: Mister Halden himself"));
}

TEST_F(LiveTranscriptTest, my_lines_wait_for_words_of_the_same_time_but_not_for_ever) {
    bool mayFollow = true;
    MeLines wait(time.main(), transcript, [&](Date) { return mayFollow; });
    const auto mine = [&](const std::string& text) {
        wait.add({.from = Date(98), .to = Date(100), .text = text}, meeting.transcriptWorkGeneration, {});
    };
    state.systemAudioActive = true;
    mine(longSpeech);
    mine("now that is good news");
    time.advance(7s);
    EXPECT_THAT(lines(), IsEmpty());
    say("Them", longSpeech, 100.1);
    mayFollow = false;
    time.advance(100ms);
    EXPECT_THAT(lines(), ElementsAre("Me: now that is good news", std::string("Them: ") + longSpeech));

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

TEST_F(LiveTranscriptTest, line_is_dropped_if_the_other_side_said_it_at_that_very_time) {
    MeLines mine(time.main(), transcript, [](Date) { return false; });
    mine.themSaid({.from = Date(95), .to = Date(98), .text = "The labels have to be"});
    mine.themSaid({.from = Date(98), .to = Date(101), .text = "fixed by Monday noon."});
    struct Case {
        double from, to;
        const char* text;
        bool stays;
    };
    for (const Case& c :
         {Case{99, 100.8, "Monday noon", false}, Case{99, 101.4, "Monday, noon!", false},
          Case{96.5, 99.5, "be fixed by", false}, Case{99, 100.8, "Tuesday noon", true},
          Case{100.8, 102.5, "Monday noon", true}, Case{93, 95, "the labels", true},
          Case{99, 100.8, "Monday noon is fine with me", true}, Case{99, 100.8, "fixed by Mandy noon", false}}) {
        transcript.clear();
        mine.add({.from = Date(c.from), .to = Date(c.to), .text = c.text}, meeting.transcriptWorkGeneration, {});
        EXPECT_EQ(lines().size(), c.stays ? 1U : 0U) << c.text << " until " << c.to;
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
    world->vocabulary = correcting("Holden", "Halden");
    world->session.vocabularyChanged();
    world->time.runUntilIdle();
    EXPECT_THAT(world->texts(), ElementsAre("Me: we met Halden today"));
    world->play(2s, 0.0F, 0.0F);
    world = std::make_unique<World>(disk);
    world->finish(world->session.restoreOpenMeeting());
    EXPECT_THAT(world->texts(), ElementsAre("Me: we met Halden today"));
}

} // namespace
} // namespace tavrin
