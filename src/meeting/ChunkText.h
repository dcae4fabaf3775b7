#pragma once

#include <string>
#include <vector>

namespace tavrin {

/// A word and when it was said, in seconds from the beginning of the samples. With the blank before it.
struct TimedWord {
    std::string text;
    double start = 0;
    double end = 0;
};

/// What a chunk of speech says; empty where nobody speaks.
struct ChunkText {
    std::string text;
    /// Only where they were asked for. They join to the text.
    std::vector<TimedWord> words;
};

} // namespace tavrin
