#include "speech/SegmentSeeker.h"
#include "speech/TestTokenizer.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tavrin {
namespace {

class SegmentSeekerTest : public testing::Test {
protected:
    int at(double seconds) const {
        return tokenizer.special().timeTokenBegin + static_cast<int>(std::lround(seconds * 50));
    }

    SegmentSeeker::Found find(std::vector<int> tokens, bool hitLimit = false, std::size_t segmentSize = 480'000,
                              const DecodingOptions& options = {}) const {
        DecodingResult result{.tokens = std::move(tokens), .hitLimit = hitLimit};
        result.tokenLogProbs.resize(result.tokens.size(), -0.1F);
        return SegmentSeeker(tokenizer).findSeekPointAndSegments(result, options, {160'000, segmentSize, 7});
    }

    Tokenizer tokenizer = test::tinyTokenizer();
};

TEST_F(SegmentSeekerTest, pairs_close_segments_and_an_ended_text_takes_the_whole_window) {
    const auto found = find({at(0), 'a', at(2), at(2.5), 'b', 'c', at(6)});
    EXPECT_EQ(found.seek, 160'000U + 480'000);
    using Told = std::tuple<int, std::string, float, float, std::size_t>;
    std::vector<Told> told;
    told.reserve(found.segments.size());
    for (const auto& segment : found.segments)
        told.emplace_back(segment.id, segment.text, segment.start, segment.end, segment.tokens.size());
    EXPECT_EQ(told, (std::vector<Told>{{7, "a", 10.0F, 12.0F, 3}, {8, "bc", 12.5F, 16.0F, 4}}));
}

TEST_F(SegmentSeekerTest, where_the_next_window_begins) {
    struct Case {
        const char* rule;
        std::vector<int> tokens;
        bool hitLimit;
        std::size_t seek;
        std::size_t segments;
    };
    const std::size_t whole = 160'000 + 480'000;
    const Case cases[]{
        {"nothing was said", {}, false, whole, 0},
        {"only a time", {at(0)}, false, whole, 0},
        {"text without a time", {'a', 'b'}, false, whole, 1},
        {"a text that stops at a pair goes on there", {at(0), 'a', at(4), at(4)}, false, 160'000 + 64'000, 1},
        {"a segment cut off by the limit is decoded again", {at(0), 'a', at(4), at(4), 'b'}, true, 160'000 + 64'000, 1},
        {"an open segment that simply ended is kept", {at(0), 'a', at(4), at(4), 'b'}, false, whole, 2},
        {"the limit in the first segment must not stop the walk", {at(0), 'a', 'b'}, true, whole, 1},
        {"a pair at the start must not stop the walk", {at(0), 'a', at(0.02), at(0.02)}, false, 160'000 + 16'000, 1},
    };
    for (const auto& [rule, tokens, hitLimit, seek, segments] : cases) {
        const auto found = find(tokens, hitLimit);
        EXPECT_EQ(found.seek, seek) << rule;
        EXPECT_EQ(found.segments.size(), segments) << rule;
    }
}

TEST_F(SegmentSeekerTest, times_stay_inside_the_window_and_the_seek_inside_its_limit) {
    const auto found = find({at(0), 'a', at(29), at(29), 'b', at(30)}, false, 80'000);
    for (const auto& segment : found.segments) {
        EXPECT_LE(segment.start, segment.end);
        EXPECT_LE(segment.end, 15.0F);
    }
    DecodingOptions options;
    options.maxWindowSeek = 1'000;
    options.skipSpecialTokens = true;
    const auto limited = find({at(0), 'a', at(4)}, false, 480'000, options);
    EXPECT_EQ(limited.seek, 161'000U);
    EXPECT_EQ(limited.segments.front().tokens, std::vector<int>{'a'});
}

} // namespace
} // namespace tavrin
