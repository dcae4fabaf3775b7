#include "speech/GreedyTokenSampler.h"

#include "speech/FastMath.h"
#include "speech/LogitsFilters.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace tavrin {

GreedyTokenSampler::GreedyTokenSampler(float heat, int endToken, const DecodingOptions& decodingOptions)
    : temperature(heat), eotToken(endToken), topK(static_cast<std::size_t>(std::max(1, decodingOptions.topK))),
      generator(static_cast<std::uint32_t>(std::lround(heat * 1000))) {
    candidates.reserve(topK + 1);
}

std::pair<int, float> GreedyTokenSampler::sample(std::span<float> logits, SamplingResult& result) {
    if (temperature > 0)
        for (float& logit : logits)
            logit /= temperature;
    const float logSum = logSumExp(logits);
    const int token = temperature > 0 ? draw(logits, logSum) : static_cast<int>(indexOfMaximum(logits));
    const float logProb = logits[static_cast<std::size_t>(token)] - logSum;
    if (token == eotToken) {
        result.completed = true;
    } else {
        result.tokens.push_back(token);
        result.logProbs.push_back(logProb);
    }
    return {token, logProb};
}

int GreedyTokenSampler::draw(std::span<float> logits, float logSum) {
    candidates.clear();
    for (std::size_t i = 0; i < logits.size(); ++i) {
        if (candidates.size() == topK && !(logits[i] > candidates.back().first)) continue;
        const std::pair candidate{logits[i], static_cast<int>(i)};
        const auto place =
            std::ranges::upper_bound(candidates, candidate.first, std::greater{}, &std::pair<float, int>::first);
        candidates.insert(place, candidate);
        if (candidates.size() > topK) candidates.pop_back();
    }
    float sum = 0;
    for (auto& [value, token] : candidates)
        sum += value = std::exp(value - logSum);
    float rest = std::uniform_real_distribution<float>(0, sum)(generator);
    for (const auto& [probability, token] : candidates) {
        rest -= probability;
        if (rest < 0) return token;
    }
    return candidates.front().second;
}

} // namespace tavrin
