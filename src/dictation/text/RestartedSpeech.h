#pragma once

#include "dictation/text/LooseWords.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

/// The text without what the model said when it began the whole of it once more, words joined by single blanks. A text
/// of fewer than 16 words comes back as it is. Pure; any thread. Costs at most the square of the number of words.
std::string collapseRestarts(std::string_view text);

/// If the word at `index` ends with `first` in any case, and has at least three characters more, cuts that end off, and
/// the punctuation with it: "endHello" and "Hello" give "end". Does nothing for a `first` of one letter or where
/// nothing would be left.
void repairFusedWord(std::vector<std::string_view>& words, std::size_t index, std::string_view first);

/// Looks in one list of words for the place where they begin once more. Immutable; one thread.
class RestartFinder final {
public:
    explicit RestartFinder(std::span<const std::string_view> words);

    /// The first position from which on the words repeat the beginning.
    std::optional<std::size_t> findRestart() const;

    /// True if the words from `cut` on are many enough and repeat those before it.
    bool isRepeatOfHead(std::size_t cut) const;

    /// How much of the words from `cut` on was said in [headBegin, cut): 1 if they stand there in a row (the first of
    /// five or more may be missing), else the share of them that occurs there. Words of punctuation alone do not count.
    double tailSimilarity(std::size_t headBegin, std::size_t cut) const;

private:
    using Id = LooseWords::Id;

    bool beginsLikeText(std::size_t position, std::size_t probeBegin, std::size_t probeEnd) const;
    bool isFusedWithFirst(std::size_t position) const;
    bool headHasEnd(std::size_t headBegin, std::size_t headEnd, std::size_t length) const;
    const std::vector<std::size_t>& runs() const;

    LooseWords words;
    std::vector<Id> spoken; // without the empty forms
    /// At each position, how many words up to it match the last ones of `spoken`; made when first needed.
    mutable std::vector<std::size_t> runsOfEnd;
};

} // namespace tavrin
