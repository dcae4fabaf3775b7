#pragma once

#include "speech/TranscriptionResult.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tavrin {

/// Sizes of a decoder graph, read from its description.
struct DecoderShape {
    std::size_t layers = 0;
    std::size_t heads = 0;
    std::size_t headSize = 0;
    std::size_t textPositions = 448;
    std::size_t vocabulary = 0;
    std::size_t alignmentHeads = 0;
};

/// What one call with the prompt left behind, so that a retry of the window starts after it.
struct DecodingCache {
    std::size_t length = 0;
    /// Logits after the prompt, before any filter.
    std::vector<float> logits;
    /// Attention while they were predicted, as a row of AlignmentWeights.
    std::vector<float> alignment;
    float noSpeechProb = 0;
    std::string language;
    std::map<std::string, float> languageProbs;
};

/// The state of one window's decoding, kept from step to step: what is fed, and the keys and values of all tokens so
/// far. Arrays are made once; only growing the cache moves its rows. Not thread-safe.
///
/// `keyCache` and `valueCache` are [layers, heads, cacheCapacity, headSize]; the capacity grows 64, 128, 256, 448, so
/// that the first tokens do not pay for the last ones' attention.
struct DecodingInputs {
    explicit DecodingInputs(const DecoderShape& shape);

    /// Makes room for `tokens` more entries. True if the capacity changed and tensors must be bound anew.
    /// Throws SpeechError if the decoder has no such many positions.
    bool reserve(std::size_t tokens);
    /// Appends the rows [layers, heads, tokens, headSize] behind what the cache holds and opens the mask for them.
    void append(std::span<const float> keyRows, std::span<const float> valueRows, std::size_t tokens);
    /// Forgets all entries behind the first `length`.
    void truncate(std::size_t length);

    DecoderShape shape;
    std::vector<int> initialPrompt;
    std::vector<std::int32_t> inputIds;
    std::int32_t cacheLength = 0;
    std::size_t cacheCapacity = 0;
    std::vector<float> keyCache, valueCache;
    /// 1 at the positions that a step writes; only for graphs that declare it.
    std::vector<float> kvCacheUpdateMask;
    /// 0 where a cached position is visible, -1e9 where not; [cacheCapacity].
    std::vector<float> decoderKeyPaddingMask;

    static constexpr float hidden = -1e9F;
};

} // namespace tavrin
