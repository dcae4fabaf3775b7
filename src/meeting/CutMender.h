#pragma once

#include "meeting/MeetingEngines.h"
#include "meeting/SpeechChunker.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tavrin {

/// Mends what a cut in the middle of speech does to the words there: the last word of a chunk that was cut off by force
/// is left to the next chunk, which hears it whole. A lane's chunks go through begin() and end() by turns, in order.
/// Thread: none of its own.
class CutMender final {
public:
    /// Seconds. A last word that ends earlier before the cut was not hit by it.
    static constexpr double hitByCut = 0.35;
    /// Words begin softly, before the time that is found for them.
    static constexpr double leadIn = 0.05;
    /// The most that is heard once more.
    static constexpr double longestRest = 2.0;

    struct Hearing {
        std::vector<float> samples; ///< what the engine is to hear; may be empty
        /// They begin with 250 ms whose words stand at the end of the text before.
        bool repeatsSound = false;
    };

    /// The chunk with what was left of the one before it.
    Hearing begin(const SpeechChunk& chunk);
    /// What of the chunk's text stands now, with the word that was left if nothing better was heard of it. `samples`
    /// are those of begin().
    std::string end(const SpeechChunk& chunk, const std::vector<float>& samples, const ChunkText& heard);

    [[nodiscard]] bool holdsWord() const { return !heldWord.empty(); }

private:
    /// `text` without a first word that is the end of the word before it.
    [[nodiscard]] std::string withoutEcho(const std::string& text) const;

    std::vector<float> rest; // sound of a word that was left
    std::string heldWord;    // as it was heard at the cut
    std::string wordBefore;  // the last that stands, in its normal form
    std::size_t nextIndex = 0;
};

} // namespace tavrin
