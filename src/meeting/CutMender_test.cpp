#include "meeting/CutMender.h"

#include <gtest/gtest.h>

namespace tavrin {
namespace {

/// A lane whose chunks are as long as told, with texts whose words share the time evenly.
class CutMenderTest : public testing::Test {
protected:
    /// What of its text stands.
    std::string chunk(std::size_t samples, const std::string& text, bool follows, bool ends) {
        const SpeechChunk cut{.samples = std::vector<float>(samples, 0.1F),
                              .date = {},
                              .followsForcedCut = follows,
                              .endsInForcedCut = ends,
                              .index = index++};
        const std::vector<float> hearing = mender.begin(cut);
        heardSamples = hearing.size();
        return mender.end(cut, hearing, timed(text, hearing.size()));
    }

    static ChunkText timed(const std::string& text, std::size_t samples) {
        ChunkText result{.text = text, .words = {}};
        std::vector<std::string> parts;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t next = std::min(text.find(' ', at + 1), text.size());
            parts.push_back(text.substr(at, next - at));
            at = next;
        }
        const double step = static_cast<double>(samples) / 16'000 / static_cast<double>(parts.size());
        for (std::size_t i = 0; i < parts.size(); ++i)
            result.words.push_back({parts[i], static_cast<double>(i) * step, static_cast<double>(i + 1) * step});
        return result;
    }

    CutMender mender;
    std::size_t index = 0, heardSamples = 0;
};

TEST_F(CutMenderTest, words_at_a_forced_cut_are_heard_whole_by_the_next_chunk) {
    EXPECT_EQ(chunk(48'000, " cold hearted rather self", false, true), "cold hearted rather");
    EXPECT_EQ(chunk(48'000, " rather selfish is to be ill", true, false), "selfish is to be ill");
    EXPECT_NEAR(static_cast<double>(heardSamples), 48'000 - 4'000 + (1.55 * 16'000), 20); // from "rather" on
}

TEST_F(CutMenderTest, rest_begins_at_a_word_that_is_known_again) {
    EXPECT_EQ(chunk(48'000, " a small amiable man is he", false, true), "a small amiable");
    EXPECT_EQ(chunk(48'000, " the ameable man is he then", true, false),
              "man is he then"); // and a splinter before it
    EXPECT_EQ(chunk(48'000, " we read it without noticing", false, true), "we read it without");
    EXPECT_EQ(chunk(48'000, " out noticing the ceiling", true, false), "noticing the ceiling");
}

TEST_F(CutMenderTest, words_without_a_sound_at_the_cut_go) {
    const SpeechChunk cut{.samples = std::vector<float>(48'000, 0.1F), .date = {}, .endsInForcedCut = true};
    const std::vector<float> hearing = mender.begin(cut);
    ChunkText heard = timed(" he might have been", hearing.size());
    for (const char* madeUp : {" a", " little", " more."}) {
        heard.text += madeUp;
        heard.words.push_back({madeUp, 3, 3});
    }
    EXPECT_EQ(mender.end(cut, hearing, heard), "he might have");
    index = 1;
    for (TimedWord& word : heard.words)
        word.start = word.end = 3;
    CutMender other;
    EXPECT_EQ(other.end(cut, hearing, heard), "he might have been a little") << "times that tell nothing";
    EXPECT_EQ(other.giveUp(), "more.");
    EXPECT_EQ(chunk(48'000, " have been made still more", true, false), "been made still more");
}

TEST_F(CutMenderTest, left_words_stand_as_they_were_heard_when_nothing_better_comes_or_the_engine_fails) {
    EXPECT_EQ(chunk(48'000, " an ill disposed young man.", false, true), "an ill disposed");
    EXPECT_EQ(chunk(0, "", true, false), "young man.");
    EXPECT_EQ(chunk(48'000, " with the whole team", false, true), "with the whole");
    EXPECT_EQ(chunk(20'000, "", true, false), "team");

    EXPECT_EQ(chunk(48'000, " with the whole team", false, true), "with the whole");
    mender.begin({.samples = std::vector<float>(48'000), .followsForcedCut = true, .index = index++});
    EXPECT_EQ(mender.giveUp(), "team");
    EXPECT_FALSE(mender.holdsWords());
    EXPECT_EQ(chunk(48'000, " team is gone", true, false), "team is gone"); // nothing is taken for an echo
}

TEST_F(CutMenderTest, next_chunk_may_say_no_more_than_what_stands) {
    for (const char* same : {" rather", " cold rather", " rather self"}) {
        chunk(48'000, " cold hearted rather self", false, true);
        const std::string text = chunk(48'000, same, true, true);
        EXPECT_TRUE(text.empty() || text == "self") << same << ": " << text;
    }
}

TEST_F(CutMenderTest, nothing_is_left_where_the_cut_hit_no_word) {
    EXPECT_EQ(chunk(48'000, " begin", false, true), "begin");
    EXPECT_EQ(chunk(48'000, " begin with three", true, false), "with three") << "the sound of 250 ms comes twice";
    EXPECT_EQ(heardSamples, 48'000U);
    EXPECT_EQ(chunk(48'000, " and a pause.", false, false), "and a pause.");
}

} // namespace
} // namespace tavrin
