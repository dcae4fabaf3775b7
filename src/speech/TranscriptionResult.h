#pragma once

#include "speech/TranscriptionTimings.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {

struct DecodingFallback {
    bool needsFallback = false;
    std::string fallbackReason;
};

struct WordTiming {
    /// With its leading blank, so that a segment's words join to its text.
    std::string word;
    std::vector<int> tokens;
    /// Seconds from the start of the audio.
    float start = 0;
    float end = 0;
    /// Mean probability of the word's tokens.
    float probability = 0;
};

struct TranscriptionSegment {
    int id = 0;
    /// The window's start, in samples from the start of the audio.
    int seek = 0;
    /// Seconds from the start of the audio.
    float start = 0;
    float end = 0;
    std::string text;
    std::vector<int> tokens;
    std::vector<float> tokenLogProbs;
    float temperature = 0;
    float avgLogprob = 0;
    float compressionRatio = 1;
    float noSpeechProb = 0;
    std::optional<std::vector<WordTiming>> words;
};

struct TranscriptionResult {
    std::string text;
    std::vector<TranscriptionSegment> segments;
    std::string language;
    TranscriptionTimings timings;
    /// Where the walk ended, in seconds.
    std::optional<float> seekTime;
};

struct DecodingCache;

/// Attention of the alignment heads while one token was predicted: rows of `positions` values, one row per head.
struct AlignmentWeights {
    std::size_t heads = 0;
    std::size_t positions = 0;
    /// One entry per sampled token, [heads, positions] each, in the order of `DecodingResult::tokens`.
    std::vector<float> rows;
};

/// What the decoder made of one window.
struct DecodingResult {
    std::string language;
    std::map<std::string, float> languageProbs;
    /// Sampled tokens without the prompt and without the end token.
    std::vector<int> tokens;
    std::vector<float> tokenLogProbs;
    std::string text;
    float avgLogProb = 0;
    float noSpeechProb = 0;
    float temperature = 0;
    float compressionRatio = 1;
    std::shared_ptr<const DecodingCache> cache;
    TranscriptionTimings timings;
    std::optional<DecodingFallback> fallback;
    /// Log probability of the first sampled token, also if it was the end token.
    float firstTokenLogProb = 0;
    /// The decoder was cut off by its token limit.
    bool hitLimit = false;
    /// The caller's callback ended the window.
    bool isStopped = false;
    AlignmentWeights alignment;
};

/// Where a window's decoding stands, for a caller that watches it.
struct TranscriptionProgress {
    TranscriptionTimings timings;
    std::string text;
    std::vector<int> tokens;
    std::optional<float> temperature;
    std::optional<float> avgLogprob;
    std::optional<float> compressionRatio;
    int windowId = 0;
};

/// Called after each sampled token on the decoding thread. `false` ends the walk with this window;
/// nothing goes on.
using TranscriptionCallback = std::function<std::optional<bool>(const TranscriptionProgress&)>;
/// Called with each window's segments on the decoding thread.
using SegmentDiscoveryCallback = std::function<void(const std::vector<TranscriptionSegment>&)>;

} // namespace tavrin
