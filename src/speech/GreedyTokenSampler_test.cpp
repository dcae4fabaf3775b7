#include "speech/GreedyTokenSampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

namespace tavrin {
namespace {

std::vector<float> logProbabilities(std::vector<float> probabilities) {
    for (float& p : probabilities)
        p = std::log(p) + 3.0F;
    return probabilities;
}

TEST(GreedyTokenSampler, draws_among_the_likeliest_in_proportion_and_repeats_itself) {
    const std::vector<float> probabilities{0.02F, 0.4F, 0.08F, 0.3F, 0.2F};
    const auto draws = [&](float heat) {
        DecodingOptions options;
        options.topK = 3;
        GreedyTokenSampler sampler(heat, 99, options);
        SamplingResult result;
        for (int i = 0; i < 20'000; ++i) {
            auto logits = logProbabilities(probabilities);
            sampler.sample(logits, result);
        }
        return result.tokens;
    };
    std::map<int, double> share;
    for (const int token : draws(1.0F))
        share[token] += 1.0 / 20'000;
    EXPECT_EQ(share.size(), 3U);
    EXPECT_NEAR(share[1], 0.4 / 0.9, 0.015);
    EXPECT_NEAR(share[3], 0.3 / 0.9, 0.015);
    EXPECT_NEAR(share[4], 0.2 / 0.9, 0.015);
    EXPECT_EQ(draws(1.0F), draws(1.0F));
    // Less heat prefers the likeliest: squares of the probabilities at one half.
    std::map<int, double> cool;
    for (const int token : draws(0.5F))
        cool[token] += 1.0 / 20'000;
    EXPECT_NEAR(cool[1], 0.16 / 0.29, 0.015);
}

} // namespace
} // namespace tavrin
