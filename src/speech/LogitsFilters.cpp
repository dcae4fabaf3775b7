#include "speech/LogitsFilters.h"

#include "speech/FastMath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavrin {

namespace {

constexpr float never = -std::numeric_limits<float>::infinity();

void suppress(std::span<float> logits, std::span<const int> tokens) {
    for (const int token : tokens)
        if (token >= 0 && static_cast<std::size_t>(token) < logits.size())
            logits[static_cast<std::size_t>(token)] = never;
}

void suppressRange(std::span<float> logits, int begin, int end) {
    const int size = static_cast<int>(logits.size());
    for (int token = std::clamp(begin, 0, size); token < std::min(end, size); ++token)
        logits[static_cast<std::size_t>(token)] = never;
}

} // namespace

float logSumExp(std::span<const float> logits) noexcept {
    if (logits.empty()) return never;
    const float largest = maximum(logits);
    if (largest == never) return never;
    return largest + std::log(sumOfExp(logits, largest));
}

SuppressTokensFilter::SuppressTokensFilter(std::vector<int> suppressed) : suppressTokens(std::move(suppressed)) {}

void SuppressTokensFilter::filter(std::span<float> logits, std::span<const int>) const {
    suppress(logits, suppressTokens);
}

SuppressBlankFilter::SuppressBlankFilter(const SpecialTokens& special, std::size_t begin)
    : specialTokens(special), sampleBegin(begin) {}

void SuppressBlankFilter::filter(std::span<float> logits, std::span<const int> tokens) const {
    if (tokens.size() != sampleBegin) return;
    const int blankAndEnd[]{specialTokens.whitespaceToken, specialTokens.endToken};
    suppress(logits, blankAndEnd);
}

TimestampRulesFilter::TimestampRulesFilter(const SpecialTokens& special, std::size_t begin,
                                           std::optional<int> maxInitial)
    : specialTokens(special), sampleBegin(begin), maxInitialTimestampIndex(maxInitial) {}

void TimestampRulesFilter::filter(std::span<float> logits, std::span<const int> tokens) const {
    const int timeBegin = specialTokens.timeTokenBegin;
    suppress(logits, std::span(&specialTokens.noTimestampsToken, 1));
    if (tokens.size() <= sampleBegin) {
        suppressRange(logits, 0, timeBegin);
        if (maxInitialTimestampIndex)
            suppressRange(logits, timeBegin + *maxInitialTimestampIndex + 1, static_cast<int>(logits.size()));
        return;
    }
    forbidBrokenPairs(logits, tokens.subspan(sampleBegin));
    preferLikelyTimes(logits);
}

void TimestampRulesFilter::forbidBrokenPairs(std::span<float> logits, std::span<const int> sampled) const {
    const int timeBegin = specialTokens.timeTokenBegin;
    const auto isTime = [&](int token) { return token >= timeBegin; };
    const bool lastIsTime = isTime(sampled.back());
    // The window's first time stands alone and opens a segment like the second of a pair.
    const bool opensSegment = lastIsTime && (sampled.size() == 1 || isTime(sampled[sampled.size() - 2]));
    if (opensSegment)
        suppressRange(logits, timeBegin, static_cast<int>(logits.size()));
    else if (lastIsTime)
        suppressRange(logits, 0, specialTokens.endToken);
    const auto newest = std::ranges::find_if(sampled.rbegin(), sampled.rend(), isTime);
    if (newest == sampled.rend()) return;
    // A pair may close and open at one time; a segment may not end where it began.
    suppressRange(logits, timeBegin, lastIsTime ? *newest : *newest + 1);
}

void TimestampRulesFilter::preferLikelyTimes(std::span<float> logits) const {
    const auto timeBegin = static_cast<std::size_t>(specialTokens.timeTokenBegin);
    if (timeBegin >= logits.size()) return;
    const auto text = logits.first(timeBegin);
    if (logSumExp(logits.subspan(timeBegin)) > maximum(text)) std::ranges::fill(text, never);
}

LanguageLogitsFilter::LanguageLogitsFilter(std::vector<int> allLanguageTokens, std::size_t logitsDim) {
    std::ranges::sort(allLanguageTokens);
    for (int token = 0; token < static_cast<int>(logitsDim); ++token)
        if (!std::ranges::binary_search(allLanguageTokens, token)) nonLanguageTokenIndexes.push_back(token);
}

void LanguageLogitsFilter::filter(std::span<float> logits, std::span<const int>) const {
    suppress(logits, nonLanguageTokenIndexes);
}

} // namespace tavrin
