#pragma once

#include "speech/DecodingOptions.h"

#include <cstdint>
#include <random>
#include <span>
#include <utility>
#include <vector>

namespace tavrin {

/// The tokens and log probabilities so far, and whether the text has ended.
struct SamplingResult {
    std::vector<int> tokens;
    std::vector<float> logProbs;
    bool completed = false;
};

/// Takes the likeliest token at temperature 0, and draws among the `topK` likeliest above it. Draws repeat from run to
/// run: the generator starts at the same point for every temperature. Allocates nothing in `sample`.
class GreedyTokenSampler final {
public:
    GreedyTokenSampler(float temperature, int eotToken, const DecodingOptions& decodingOptions);

    /// Appends the next token and its log probability to `result`, whose capacity must hold one more, unless it is the
    /// end token: that only sets `completed`. Overwrites `logits` at a temperature above 0. Returns both.
    std::pair<int, float> sample(std::span<float> logits, SamplingResult& result);

private:
    [[nodiscard]] int draw(std::span<float> logits, float logSum);

    float temperature;
    int eotToken;
    std::size_t topK;
    std::mt19937 generator;
    std::vector<std::pair<float, int>> candidates;
};

} // namespace tavrin
