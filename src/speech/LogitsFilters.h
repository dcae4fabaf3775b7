#pragma once

#include "speech/SpecialTokens.h"

#include <optional>
#include <span>
#include <vector>

namespace tavrin {

/// Shapes the logits of one step in place before a token is sampled. `tokens` is the prompt and what was sampled so
/// far. Filters are immutable, allocate nothing in `filter` and may be used from several threads.
class LogitsFilter {
public:
    virtual ~LogitsFilter() = default;
    virtual void filter(std::span<float> logits, std::span<const int> tokens) const = 0;
};

/// Never samples the listed tokens.
class SuppressTokensFilter final : public LogitsFilter {
public:
    explicit SuppressTokensFilter(std::vector<int> suppressed);
    void filter(std::span<float> logits, std::span<const int> tokens) const override;

private:
    std::vector<int> suppressTokens;
};

/// Does not begin a text with a blank or end it before it began: at the position `sampleBegin` only.
class SuppressBlankFilter final : public LogitsFilter {
public:
    SuppressBlankFilter(const SpecialTokens& special, std::size_t sampleBegin);
    void filter(std::span<float> logits, std::span<const int> tokens) const override;

private:
    SpecialTokens specialTokens;
    std::size_t sampleBegin;
};

/// Keeps time tokens in pairs, rising, first in a window, and chosen where they are likelier together than any text
/// (Radford et al. 2022, the rules of decoding with timestamps).
class TimestampRulesFilter final : public LogitsFilter {
public:
    /// `maxInitialTimestampIndex`: steps of 0.02 s that the first time token is not above.
    TimestampRulesFilter(const SpecialTokens& special, std::size_t sampleBegin,
                         std::optional<int> maxInitialTimestampIndex);
    void filter(std::span<float> logits, std::span<const int> tokens) const override;

private:
    void forbidBrokenPairs(std::span<float> logits, std::span<const int> sampled) const;
    void preferLikelyTimes(std::span<float> logits) const;

    SpecialTokens specialTokens;
    std::size_t sampleBegin;
    std::optional<int> maxInitialTimestampIndex;
};

/// Leaves only the languages, for the step that tells which one is spoken.
class LanguageLogitsFilter final : public LogitsFilter {
public:
    LanguageLogitsFilter(std::vector<int> allLanguageTokens, std::size_t logitsDim);
    void filter(std::span<float> logits, std::span<const int> tokens) const override;

private:
    std::vector<int> nonLanguageTokenIndexes;
};

/// log(sum(exp(x))) without overflow; minus infinity of nothing. Reads only.
float logSumExp(std::span<const float> logits) noexcept;

} // namespace tavrin
