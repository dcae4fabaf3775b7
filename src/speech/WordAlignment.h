#pragma once

#include "speech/TranscriptionResult.h"

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace tavrin {

class Tokenizer;

/// Marks that belong to the word before them.
constexpr std::string_view appendedMarks = "\"'.。,，!！?？:：”)]}、";

/// The words of a decoding with their times in seconds from the window's start, by dynamic time warping of the
/// alignment heads' attention (Radford et al. 2022). `positions` counts the encoder positions of 0.02 s that hold
/// audio. Throws SpeechError "Invalid shape in alignmentWeights" if rows are missing.
[[nodiscard]] std::vector<WordTiming> alignedWords(const DecodingResult& result, const Tokenizer& tokenizer,
                                                   std::size_t positions);

/// Text tokens grouped to words: a word begins at a blank; marks join the word before them. Languages written without
/// blanks are split at whole characters. Each entry is the half-open range of `tokens` that makes the word.
[[nodiscard]] std::vector<std::pair<std::size_t, std::size_t>>
wordRanges(std::span<const int> tokens, const Tokenizer& tokenizer, std::string_view language);

/// The cheapest monotonous path through `cost` [rows, columns] from the first to the last cell (Sakoe and Chiba 1978).
/// Returns for each row the first column that the path visits. Throws SpeechError "Invalid alignment matrix shape".
[[nodiscard]] std::vector<std::size_t> warpedStarts(std::span<const float> cost, std::size_t rows, std::size_t columns);

} // namespace tavrin
