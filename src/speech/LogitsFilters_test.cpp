#include "speech/FastMath.h"
#include "speech/LogitsFilters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <set>

namespace tavrin {
namespace {

// A vocabulary of ten words (0 is the blank), the end, a few steering tokens and times from 20 on.
constexpr SpecialTokens special{
    .endToken = 10, .noTimestampsToken = 19, .specialTokenBegin = 10, .timeTokenBegin = 20, .whitespaceToken = 0};
constexpr std::size_t vocabulary = 40;

std::set<int> left(const LogitsFilter& filter, std::vector<int> tokens,
                   std::vector<float> logits = std::vector<float>(vocabulary, 0)) {
    filter.filter(logits, tokens);
    std::set<int> result;
    for (std::size_t i = 0; i < logits.size(); ++i)
        if (!std::isinf(logits[i])) result.insert(static_cast<int>(i));
    return result;
}

std::set<int> range(int begin, int end) {
    std::set<int> result;
    for (int i = begin; i < end; ++i)
        result.insert(i);
    return result;
}

/// Text tokens far likelier than times, so that only the rules of order decide.
std::vector<float> textIsLikely() {
    std::vector<float> logits(vocabulary, -50);
    std::fill(logits.begin(), logits.begin() + 20, 5.0F);
    return logits;
}

TEST(LogitsFilters, time_tokens_stand_in_rising_pairs) {
    const TimestampRulesFilter filter(special, 2, std::nullopt);
    const auto words = range(0, 19);
    struct Case {
        const char* rule;
        std::vector<int> sampled;
        std::set<int> allowed;
    };
    const auto joined = [](std::set<int> a, const std::set<int>& b) {
        a.insert(b.begin(), b.end());
        return a;
    };
    const Case cases[]{
        {"a window begins with a time", {}, range(20, 40)},
        {"text follows the first time", {20}, words},
        {"text or a later time follows text", {20, 3}, joined(words, range(21, 40))},
        {"after the end of a segment comes its pair, not before it, or the end of all",
         {20, 3, 27},
         joined(range(10, 19), range(27, 40))},
        {"after a closed pair comes text", {20, 3, 27, 27}, words},
        {"the next segment ends after it began", {20, 3, 27, 29, 4}, joined(words, range(30, 40))},
    };
    for (const auto& [rule, sampled, allowed] : cases) {
        std::vector<int> tokens{1, 2};
        tokens.insert(tokens.end(), sampled.begin(), sampled.end());
        EXPECT_EQ(left(filter, tokens, textIsLikely()), allowed) << rule;
    }
    EXPECT_EQ(left(TimestampRulesFilter(special, 0, 5), {}), range(20, 26)); // a limit for the first time
}

TEST(LogitsFilters, times_that_are_likelier_together_forbid_text) {
    const TimestampRulesFilter filter(special, 0, std::nullopt);
    std::vector<float> logits(vocabulary, -10);
    logits[3] = 1.0F;
    for (int time = 21; time < 40; ++time)
        logits[static_cast<std::size_t>(time)] = -1.5F; // sum: e^1.44
    EXPECT_EQ(left(filter, {20, 4}, logits), range(21, 40));
    logits[3] = 2.0F;
    EXPECT_TRUE(left(filter, {20, 4}, logits).contains(3));
}

TEST(LogitsFilters, blank_and_end_are_kept_from_the_first_place_listed_tokens_and_all_but_languages_from_any) {
    const SuppressBlankFilter filter(special, 2);
    auto others = range(1, vocabulary);
    others.erase(special.endToken);
    EXPECT_EQ(left(filter, {1, 2}), others);
    EXPECT_EQ(left(filter, {1, 2, 3}).size(), vocabulary);
    EXPECT_EQ(left(SuppressTokensFilter({1, 5, -3, 4000}), {}).size(), vocabulary - 2);
    EXPECT_EQ(left(LanguageLogitsFilter({12, 14}, vocabulary), {}), (std::set<int>{12, 14}));
}

TEST(LogitsFilters, sums_and_maxima_agree_with_plain_arithmetic) {
    std::mt19937 generator(3);
    std::normal_distribution<float> values(0, 8);
    EXPECT_TRUE(std::isinf(logSumExp({})));
    for (const std::size_t size : {1UL, 15UL, 16UL, 17UL, 51'865UL}) {
        std::vector<float> logits(size);
        for (float& logit : logits)
            logit = values(generator);
        if (size > 16) logits[5] = -std::numeric_limits<float>::infinity();
        double sum = 0;
        for (const float logit : logits)
            sum += std::exp(static_cast<double>(logit));
        EXPECT_NEAR(logSumExp(logits), std::log(sum), 2e-5) << size;
        EXPECT_EQ(logits[indexOfMaximum(logits)], *std::max_element(logits.begin(), logits.end()));
    }
}

} // namespace
} // namespace tavrin
