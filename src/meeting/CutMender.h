#pragma once

#include "meeting/MeetingEngines.h"
#include "meeting/SpeechChunker.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// Mends what a cut in the middle of speech does to the words there: the last word of a chunk that was cut off by force
/// is left to the next chunk, which hears it whole, and the word before it once more, so as not to begin within a word.
/// A lane's chunks go through begin() and end() (or giveUp()) by turns, in order. Thread: none of its own.
class CutMender final {
public:
    static constexpr std::size_t mostHeldWords = 3;
    /// Seconds. A last word that ends earlier before the cut was not hit by it.
    static constexpr double hitByCut = 0.35;
    /// Words that begin later before the cut have no sound: the engine made them up to end the sentence.
    static constexpr double leastSound = 0.03;
    /// Words begin softly, before the time that is found for them.
    static constexpr double leadIn = 0.05;
    /// The most that is heard once more.
    static constexpr double longestRest = 2.5;
    /// The word before the left one is heard again among the first so many.
    static constexpr std::size_t mostEchoWords = 3;

    /// What the engine is to hear of a chunk, with what was left of the one before it; may be empty.
    std::vector<float> begin(const SpeechChunk& chunk);
    /// What of the chunk's text stands now, with the word that was left if nothing better was heard of it. `samples`
    /// are those of begin().
    std::string end(const SpeechChunk& chunk, const std::vector<float>& samples, const ChunkText& heard);

    /// Instead of end(), where the engine failed: the word that was left, as it was heard at the cut.
    std::string giveUp();

    [[nodiscard]] bool holdsWords() const { return !held.empty(); }

private:
    /// How many words at the end are left, up to `most`: the word before them is a long one, which is known again.
    static std::size_t wordsToHold(std::span<const std::string_view> parts, std::size_t most);
    static std::size_t wordsWithoutSound(std::span<const TimedWord> said, double length);
    /// `text` without the words that are left to the next chunk, and without those that nobody said.
    std::string withoutHeld(const std::string& text, const std::vector<float>& samples,
                            std::span<const TimedWord> said);
    /// `text` without its beginning up to the word that stands already.
    [[nodiscard]] std::string withoutEcho(const std::string& text) const;

    /// What is left of `text` when the words go that stand already.
    std::string newWords(std::string text);

    std::vector<float> rest; // sound of a word that was left
    std::string held;        // those words as they were heard at the cut
    std::string wordBefore;  // the last that stands, in its normal form
    std::string lastText;
    bool repeatsSound = false; // the chunk begins with 250 ms whose words stand at the end of the last text
    std::size_t nextIndex = 0;
};

} // namespace tavrin
