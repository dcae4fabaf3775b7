#include "dictation/text/RepeatedPhrases.h"

#include "support/text/Unicode.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace tavrin {

namespace {

constexpr std::size_t fewestWords = 4;
constexpr std::size_t shortestPhrase = 2, longestPhrase = 64;

struct Word {
    std::string_view text;
    std::uint32_t id = 0; // equal for words that are equal in lower case
};

std::vector<Word> numberedWords(std::string_view text) {
    std::unordered_map<std::string, std::uint32_t> ids;
    std::vector<Word> result;
    for (const std::string_view word : words(text)) {
        const auto next = static_cast<std::uint32_t>(ids.size());
        result.push_back({word, ids.try_emplace(composed(lowercased(word)), next).first->second});
    }
    return result;
}

/// Positions from `begin` up to but not including `end`.
struct Stretch {
    std::size_t begin = 0, end = 0;

    bool isEmpty() const { return begin >= end; }
    void include(Stretch other) {
        if (other.isEmpty()) return;
        *this = isEmpty() ? other : Stretch{std::min(begin, other.begin), std::max(end, other.end)};
    }
};

/// Collapses as if it looked through all lengths and positions anew after each removal, but remembers for each length
/// where a repeat may still begin: after a removal that is only around the seam.
class PhraseCollapser {
public:
    explicit PhraseCollapser(std::vector<Word> list) : words(std::move(list)) { unseen.fill({0, words.size()}); }

    std::vector<Word> collapse() && {
        while (const auto phrase = findRepeat())
            remove(phrase->begin, phrase->end - phrase->begin);
        return std::move(words);
    }

private:
    /// The longest, then leftmost run that is followed by itself.
    std::optional<Stretch> findRepeat() {
        for (std::size_t length = std::min(words.size() / 2, longestPhrase); length >= shortestPhrase; --length) {
            const auto begin = findRepeat(length);
            if (begin) return Stretch{*begin, *begin + length};
        }
        return std::nullopt;
    }

    std::optional<std::size_t> findRepeat(std::size_t length) {
        Stretch& places = unseen[length];
        std::size_t run = 0; // words up to here that equal the word `length` further on
        for (std::size_t i = places.begin; i + length < words.size(); ++i) {
            if (i - run >= places.end) break;
            run = words[i].id == words[i + length].id ? run + 1 : 0;
            if (run < length) continue;
            places.begin = i + 1 - length;
            return places.begin;
        }
        places = {};
        return std::nullopt;
    }

    /// Takes out the repeat of [begin, begin + length). From `begin` on all words stand as they stood `length` further
    /// on, and what ends before the seam is as it was, so only a repeat that reaches over the seam can be new.
    void remove(std::size_t begin, std::size_t length) {
        const std::size_t seam = begin + length;
        const auto from = words.begin() + static_cast<std::ptrdiff_t>(seam);
        words.erase(from, from + static_cast<std::ptrdiff_t>(length));
        for (std::size_t other = shortestPhrase; other <= longestPhrase; ++other) {
            const Stretch old = unseen[other];
            Stretch places{old.begin, std::min(old.end, begin)};
            places.include({std::max(old.begin, seam) - length, std::max(old.end, seam) - length});
            places.include({seam + 1 - std::min(seam + 1, 2 * other), begin});
            unseen[other] = places;
        }
    }

    std::vector<Word> words;
    std::array<Stretch, longestPhrase + 1> unseen; // by length: where a repeat may begin
};

} // namespace

std::string collapseAdjacentPhrases(std::string_view text) {
    std::vector<Word> list = numberedWords(text);
    if (list.size() < fewestWords) return std::string(text);
    std::vector<std::string_view> kept;
    for (const Word& word : PhraseCollapser(std::move(list)).collapse())
        kept.push_back(word.text);
    return joined(kept);
}

std::string dropAdjacentDuplicateWords(std::string_view text) {
    std::vector<std::string_view> list = words(text);
    if (list.size() < 2) return std::string(text);
    const auto repeats = std::ranges::unique(list, sameTextIgnoringCase);
    list.erase(repeats.begin(), repeats.end());
    return joined(list);
}

} // namespace tavrin
