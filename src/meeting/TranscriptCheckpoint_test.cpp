#include "meeting/RecoverableMeetings.h"
#include "meeting/TranscriptPersistence.h"
#include "support/files/FileError.h"
#include "support/files/MemoryFolder.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace tavrin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Date now(800'000'000);

TranscriptCheckpoint fullCheckpoint() {
    return {.meetingID = "AB-1",
            .startedAt = Date(799'999'000.125),
            .durationSeconds = 61.5,
            .title = "Weekly “sync”",
            .segments = {{"Me", "Hello\nyou", Date(799'999'001.5), std::nullopt, 2},
                         {"Them", "Hi", Date(799'999'002), 0, std::nullopt}},
            .meTranscribedSamples = 16'000,
            .themTranscribedSamples = 0,
            .themSpeakerCustomNames = {{0, "Ann"}, {12, "Bob"}},
            .updatedAt = Date(800'000'000.75)};
}

TEST(TranscriptCheckpoint, is_written_with_these_keys_in_this_order_and_read_back_alike) {
    const std::string text = fullCheckpoint().json();
    EXPECT_EQ(text, R"({"meetingID":"AB-1","startedAt":799999000.125,"durationSeconds":61.5,"title":"Weekly “sync”",)"
                    R"("segments":[{"speakerLabel":"Me","text":"Hello\nyou","date":799999001.5,"meSpeakerIndex":2},)"
                    R"({"speakerLabel":"Them","text":"Hi","date":799999002.0,"themSpeakerIndex":0}],)"
                    R"("meTranscribedSamples":16000,"themTranscribedSamples":0,)"
                    R"("themSpeakerCustomNames":{"0":"Ann","12":"Bob"},"updatedAt":800000000.75})");
    EXPECT_EQ(TranscriptCheckpoint::parse(text), fullCheckpoint());
    const TranscriptCheckpoint bare{.meetingID = "B"};
    EXPECT_EQ(bare.json(), R"({"meetingID":"B","startedAt":0.0,"durationSeconds":0.0,"title":"","segments":[],)"
                           R"("updatedAt":0.0})");
    EXPECT_EQ(TranscriptCheckpoint::parse(bare.json()), bare);
}

TEST(TranscriptCheckpoint, of_the_wrong_shape_is_refused_and_harmless_oddities_are_left_out) {
    const Json good = Json::parse(fullCheckpoint().json());
    std::vector<std::pair<std::string, Json>> wrong{{"/durationSeconds", nullptr},
                                                    {"/segments/1/themSpeakerIndex", 0.5}};
    for (const char* place : {"/meetingID", "/startedAt", "/durationSeconds", "/title", "/segments", "/segments/0",
                              "/segments/0/text", "/segments/1/date", "/segments/1/themSpeakerIndex", "/updatedAt",
                              "/meTranscribedSamples", "/themSpeakerCustomNames", "/themSpeakerCustomNames/0"})
        wrong.emplace_back(place, false);
    for (const auto& [place, value] : wrong) {
        Json bad = good;
        bad[Json::json_pointer(place)] = value;
        EXPECT_FALSE(TranscriptCheckpoint::parse(compactText(bad))) << place << value;
    }
    for (const char* text : {"", "[]", "null", "{", "{\"meetingID\":\"A\"}"})
        EXPECT_FALSE(TranscriptCheckpoint::parse(text)) << text;

    Json odd = good;
    odd["meTranscribedSamples"] = -1;
    odd["themTranscribedSamples"] = nullptr;
    odd["durationSeconds"] = -3;
    odd["themSpeakerCustomNames"] = {{"first", "x"}, {"1 ", "y"}, {"3", "z"}};
    odd["later"] = "unknown";
    const auto read = TranscriptCheckpoint::parse(compactText(odd)).value();
    EXPECT_EQ(read.meTranscribedSamples, std::nullopt);
    EXPECT_EQ(read.themTranscribedSamples, std::nullopt);
    EXPECT_EQ(read.durationSeconds, 0);
    EXPECT_EQ(read.themSpeakerCustomNames, (std::map<SpeakerIndex, std::string>{{3, "z"}}));
}

TEST(SegmentsLog, keeps_what_can_be_read) {
    const auto segments = fullCheckpoint().segments;
    const std::string log = segmentsLog(segments);
    EXPECT_EQ(parseSegmentsLog(log), segments);
    EXPECT_EQ(parseSegmentsLog("\n\nnonsense\n" + log + "{\"text\":\"x\"}\n\xff\n"), segments);
    for (std::size_t cut = 1; cut + 1 < segmentsLog(std::span(segments).subspan(1)).size(); ++cut)
        EXPECT_EQ(parseSegmentsLog(log.substr(0, log.size() - 1 - cut)).size(), 1U) << cut;
}

class RecoverableMeetingsTest : public testing::Test {
protected:
    RecoverableMeetingsTest() { folder.makeFolders(recordingsFolder); }

    void write(const std::string& name, const std::string& text) { folder.writeAtomically(recordingPath(name), text); }
    void writeMeeting(const std::string& id, double startedAge, double updatedAge) {
        const TranscriptCheckpoint checkpoint{.meetingID = id,
                                              .startedAt = Date(now.sinceReference() - startedAge),
                                              .updatedAt = Date(now.sinceReference() - updatedAge)};
        write(id + "-checkpoint.json", checkpoint.json());
        for (const char* suffix : {"-segments.jsonl", "-me.pcm", "-mic.pcm", "-them.pcm"})
            write(id + suffix, "x");
    }
    std::vector<std::string> listed() {
        std::vector<std::string> ids;
        for (const auto& checkpoint : recoverableMeetings(folder, now))
            ids.push_back(checkpoint.meetingID);
        return ids;
    }

    LogCapture quiet;
    MemoryFolder folder;
};

TEST_F(RecoverableMeetingsTest, are_listed_newest_first_and_beyond_48_hours_removed_but_for_the_microphones_sound) {
    EXPECT_THAT(listed(), IsEmpty());
    writeMeeting("edge", 172'800, 172'800);
    writeMeeting("odd-clock", 5, 200'000); // the later date counts
    writeMeeting("future", -100, -100);
    writeMeeting("newest", 9, -200);
    EXPECT_THAT(listed(), ElementsAre("newest", "future", "edge", "odd-clock"));
    auto left = folder.list(recordingsFolder);
    EXPECT_EQ(left.size(), 20U);
    writeMeeting("too-old", 172'801, 172'801);
    EXPECT_EQ(listed().size(), 4U);
    left.emplace_back("too-old-me.pcm");
    EXPECT_EQ(folder.list(recordingsFolder), left);
}

TEST_F(RecoverableMeetingsTest, a_left_over_that_cannot_be_removed_hides_no_meeting) {
    writeMeeting("good", 1, 1);
    folder.failNext(MemoryFolder::Step::read, EIO); // is there a folder
    EXPECT_THAT(listed(), IsEmpty());
    folder.cutPowerAfter(1);
    EXPECT_THROW(write("good-segments.jsonl", "new"), FileError);
    folder.restart({.namesSurvive = true});
    folder.failNext(MemoryFolder::Step::remove, EACCES);
    EXPECT_THAT(listed(), ElementsAre("good"));
    EXPECT_TRUE(quiet.contains("What an interrupted write left stays"));
}

TEST_F(RecoverableMeetingsTest, a_bad_checkpoint_stays_harms_no_other_and_leads_nowhere_else) {
    folder.makeFolders("TavrinAssistant/Notes");
    folder.writeAtomically("TavrinAssistant/Notes/n-segments.jsonl", "mine");
    write("corrupt-checkpoint.json", "{\"meetingID\":");
    write("path-checkpoint.json", TranscriptCheckpoint{.meetingID = "../Notes/n"}.json());
    write("deep-checkpoint.json", std::string(100'000, '['));
    write("other.json", TranscriptCheckpoint{.meetingID = "A", .startedAt = now}.json());
    folder.makeFolders(recordingPath("folder-checkpoint.json"));
    writeMeeting("good", 1, 1);
    folder.failNext(MemoryFolder::Step::remove, EACCES);
    writeMeeting("stale", 200'000, 200'000);
    EXPECT_THAT(listed(), ElementsAre("good"));
    EXPECT_EQ(folder.read("TavrinAssistant/Notes/n-segments.jsonl", 10), "mine");
    for (const char* name : {"corrupt", "path", "deep", "folder"})
        EXPECT_TRUE(folder.info(recordingPath(name + std::string("-checkpoint.json")))) << name;
    EXPECT_FALSE(folder.info(recordingPath("stale-them.pcm")));
    folder.removeTree("TavrinAssistant");
    EXPECT_THAT(listed(), IsEmpty());
}

} // namespace
} // namespace tavrin
