#include "meeting/CutMender.h"

#include <gtest/gtest.h>

namespace tavrin {
namespace {

/// A lane whose chunks are as long as told, with texts whose words share the time evenly.
class CutMenderTest : public testing::Test {
protected:
    struct Said {
        std::size_t heardSamples;
        std::string text;
        bool repeatsSound;
    };

    Said chunk(std::size_t samples, const std::string& text, bool follows, bool ends) {
        const SpeechChunk cut{.samples = std::vector<float>(samples, 0.1F),
                              .date = {},
                              .followsForcedCut = follows,
                              .endsInForcedCut = ends,
                              .index = index++};
        const CutMender::Hearing hearing = mender.begin(cut);
        return {hearing.samples.size(), mender.end(cut, hearing.samples, timed(text, hearing.samples.size())),
                hearing.repeatsSound};
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
    std::size_t index = 0;
};

TEST_F(CutMenderTest, word_at_a_forced_cut_is_heard_whole_by_the_next_chunk) {
    EXPECT_EQ(chunk(48'000, " cold hearted and rather self", false, true).text, "cold hearted and rather");
    const Said next = chunk(48'000, " selfish is to be ill", true, false);
    EXPECT_NEAR(static_cast<double>(next.heardSamples), 48'000 - 4'000 + (0.65 * 16'000), 20);
    EXPECT_EQ(next.text, "selfish is to be ill");
    EXPECT_FALSE(next.repeatsSound);
}

TEST_F(CutMenderTest, word_before_the_cut_that_sounds_into_the_rest_stands_once) {
    EXPECT_EQ(chunk(48'000, " read from without noticing", false, true).text, "read from without");
    EXPECT_EQ(chunk(48'000, " out noticing the ceiling", true, false).text, "noticing the ceiling");
}

TEST_F(CutMenderTest, left_word_stands_as_it_was_heard_when_nothing_better_comes) {
    EXPECT_EQ(chunk(48'000, " an ill disposed young man.", false, true).text, "an ill disposed young");
    EXPECT_EQ(chunk(0, "", true, false).text, "man.");
    EXPECT_EQ(chunk(48'000, " with the whole team", false, true).text, "with the whole");
    EXPECT_EQ(chunk(20'000, "", true, false).text, "team");
}

TEST_F(CutMenderTest, nothing_is_left_where_the_cut_hit_no_word) {
    EXPECT_EQ(chunk(48'000, " one", false, true).text, "one");
    const Said next = chunk(48'000, " two three", true, false);
    EXPECT_EQ(next.heardSamples, 48'000U);
    EXPECT_TRUE(next.repeatsSound);
    EXPECT_EQ(chunk(48'000, " and a pause.", false, false).text, "and a pause.");
}

} // namespace
} // namespace tavrin
