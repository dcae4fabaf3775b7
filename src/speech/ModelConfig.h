#pragma once

#include "speech/Tokenizer.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace tavrin {

/// What a model folder's config.json says of its graphs and vocabulary.
struct ModelConfig {
    /// E.g. "base" or "small.en".
    std::string variant;
    std::size_t melBands = 80;
    std::size_t audioPositions = 1500;
    std::size_t textPositions = 448;
    std::size_t width = 0;
    std::size_t heads = 0;
    std::size_t decoderLayers = 0;
    std::size_t vocabulary = 0;
    /// Knows more languages than English: the file lists their tokens.
    bool isMultilingual = false;
    /// Decoder layer and head of each row of the alignment weights.
    std::vector<std::pair<int, int>> alignmentHeads;

    /// Reads `file`. Throws SpeechError that names the file and what is wrong with it.
    [[nodiscard]] static ModelConfig load(const std::filesystem::path& file);
    [[nodiscard]] static ModelConfig parse(std::string_view json, const std::string& name);

    /// Throws SpeechError if `tokenizer` is of another variant.
    void checkTokenizer(const Tokenizer& tokenizer, const std::string& name) const;
};

} // namespace tavrin
