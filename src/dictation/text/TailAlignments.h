#pragma once

#include "dictation/text/LooseWords.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavrin {

/// Compares the last words of a text, the tail, with the words before it, the head, as the tail gets shorter word by
/// word. For each distance it keeps how many words of the tail match the word so far before them, so that a step costs
/// no more than the matching words of one position. The words outlive this. One thread.
class TailAlignments final {
public:
    /// Looks at the first `count` of the words, with a tail of half of them, rounded down.
    TailAlignments(const LooseWords& words, std::size_t count);

    std::size_t tailLength() const { return tail; }
    /// Leaves the first word of the tail out of all that is asked from now on; it may have been fused with the word
    /// before it. The head stays as it is.
    void skipFirst();
    /// Gives the first word of the tail to the head, and asks for the whole of the rest again.
    void shorten();

    /// How many words are asked for.
    std::size_t length() const { return tail - skipped; }
    /// True if they stand in a row in the head.
    bool containsRun() const;
    /// The share of them that occurs in the head, each in the very same form.
    double overlap() const;
    /// How many of them match at the place in the head where most do.
    std::size_t bestAlignment() const;
    /// True if at least this share of them does.
    bool isAligned(double share) const;
    /// After skipFirst(): true if the rest stands in the head, one word in ten at most different, and the word skipped
    /// fits the end of the head or the rest is long.
    bool partialRepeat() const;

private:
    using Id = LooseWords::Id;
    struct Run {
        std::size_t distance, length;
    };

    void findRunsOfEnd();
    void enterTail(std::size_t position);
    void leaveTail(std::size_t position);
    void enterHead(std::size_t position);
    void countMatches(std::size_t position, std::int32_t change);
    bool isSeam(Id word, Id lastOfHead) const;

    std::size_t headEnd() const { return size - tail; }
    // The distances at which a place for all words asked for is in the head.
    std::size_t nearest() const { return tail; }
    std::size_t farthest() const { return headEnd() + skipped; }

    const LooseWords& words;
    const std::size_t size;
    std::size_t tail, skipped = 0;
    std::vector<Run> runsOfEnd;           // how many of the last words match those at a distance before them
    std::vector<std::int32_t> matchesAt;  // by distance: words of the tail that match
    std::vector<std::uint32_t> tailCount; // by id
    std::size_t sameInHead = 0;           // words of the tail that occur in the head
    std::size_t alikeInHead = 0;          // words of the tail that match one in the head
};

} // namespace tavrin
