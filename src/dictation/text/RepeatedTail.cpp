#include "dictation/text/RepeatedTail.h"

#include "dictation/text/MergeOverlap.h"
#include "dictation/text/TailAlignments.h"
#include "support/text/Unicode.h"

#include <algorithm>

namespace tavrin {

namespace {

constexpr std::size_t fewestWords = 16, fewestTailWords = 8;
constexpr double likeOverlap = 0.85, likeAlignment = 0.8;
constexpr double strictOverlap = 0.9, strictAlignment = 0.85; // where the first word does not count

constexpr std::size_t fewestCharactersOfFused = 5, fewestCharactersOfStem = 3, longestStub = 3;
constexpr std::string_view stubWords[] = {"the", "and", "that", "this", "to",  "of", "a",
                                          "i",   "it",  "in",   "for",  "you", "we"};

bool isRepeat(const TailAlignments& tail) {
    return tail.containsRun() || (tail.overlap() >= likeOverlap && tail.isAligned(likeAlignment));
}

bool isRepeatBehindFirst(const TailAlignments& tail) {
    if (tail.length() < fewestTailWords) return false;
    return tail.containsRun() || tail.partialRepeat() ||
           (tail.overlap() >= strictOverlap && tail.isAligned(strictAlignment));
}

/// How many of the first `count` words, at the end, were said before: the most that can be taken out at once, or 0.
std::size_t repeatedTailLength(const LooseWords& words, std::size_t count) {
    for (TailAlignments tail(words, count); tail.tailLength() >= fewestTailWords; tail.shorten()) {
        if (isRepeat(tail)) return tail.tailLength();
        tail.skipFirst();
        if (isRepeatBehindFirst(tail)) return tail.tailLength();
    }
    return 0;
}

bool isLetters(std::string_view text) {
    return std::ranges::all_of(characters(text), [](std::string_view character) {
        std::size_t position = 0;
        return isLetter(nextCodePoint(character, position));
    });
}

/// The first characters of the word, at most as many as the stub has, begin the stub.
bool beginsWithWord(std::string_view stub, std::string_view word) {
    const std::string_view start = word.substr(0, std::min(word.size(), characterCount(stub)));
    return stub.starts_with(start) && isCharacterBoundary(stub, start.size());
}

bool isStub(std::string_view text) {
    return std::ranges::any_of(stubWords, [&](std::string_view word) {
        return word.starts_with(text) || beginsWithWord(text, word) ||
               (characterCount(text) >= 2 && word.ends_with(text));
    });
}

} // namespace

std::string dropRepeatedTail(std::string_view text) {
    std::vector<std::string_view> list = words(text);
    if (list.size() < fewestWords) return std::string(text);
    const LooseWords forms(list);
    const std::size_t all = list.size();
    while (list.size() >= fewestWords) {
        const std::size_t repeated = repeatedTailLength(forms, list.size());
        if (repeated == 0) break;
        list.resize(list.size() - repeated);
    }
    if (list.size() < all) trimFusedFragment(list);
    return joined(list);
}

void trimFusedFragment(std::vector<std::string_view>& words) {
    if (words.empty()) return;
    const std::string form = composed(normalizedWord(words.back()));
    const std::size_t count = characterCount(form);
    if (count < fewestCharactersOfFused) return;
    for (std::size_t cut = 1; cut <= longestStub && cut + fewestCharactersOfStem <= count; ++cut) {
        const std::string_view stub = lastCharacters(form, cut);
        if (!isLetters(stub) || !isStub(stub)) continue;
        const std::string_view stem = trimmed(firstCharacters(words.back(), count - cut), isPunctuation);
        if (stem.empty()) continue;
        words.back() = stem;
        return;
    }
}

} // namespace tavrin
