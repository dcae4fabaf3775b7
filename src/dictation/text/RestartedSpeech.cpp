#include "dictation/text/RestartedSpeech.h"

#include "support/text/Unicode.h"

#include <algorithm>

namespace tavrin {

namespace {

constexpr std::size_t fewestWords = 16;
constexpr std::size_t mostWordsOfShortText = 29;
constexpr std::size_t shortProbe = 6, longestProbe = 12;
constexpr std::size_t mostWordsForFixedTail = 47, fewestTailWords = 16, fewestHeadWords = 8;
constexpr std::size_t fewestWordsForSeam = 5; // from so many on, the first may be the one that was fused
constexpr double likeness = 0.8;
constexpr std::size_t fewestCharactersOfFirst = 2, fewestCharactersBeforeFirst = 3;

/// True if `word` ends with `first`, both in lower case, and is enough longer than it to be two words in one.
bool isFused(std::string_view word, std::string_view first) {
    const std::string whole = composed(word), end = composed(first);
    if (!whole.ends_with(end) || !isCharacterBoundary(whole, whole.size() - end.size())) return false;
    return characterCount(end) >= fewestCharactersOfFirst &&
           characterCount(whole) >= characterCount(end) + fewestCharactersBeforeFirst;
}

} // namespace

std::string collapseRestarts(std::string_view text) {
    std::vector<std::string_view> list = words(text);
    if (list.size() < fewestWords) return std::string(text);
    while (const auto cut = RestartFinder(list).findRestart()) {
        repairFusedWord(list, *cut - 1, list.front());
        list.resize(*cut);
    }
    return joined(list);
}

void repairFusedWord(std::vector<std::string_view>& words, std::size_t index, std::string_view first) {
    const std::string_view bare = trimmed(first, isPunctuation);
    const std::string_view word = words[index];
    if (!isFused(lowercased(word), lowercased(bare))) return;
    const std::size_t kept = characterCount(word) - std::min(characterCount(word), characterCount(bare));
    const std::string_view rest = trimmed(firstCharacters(word, kept), isPunctuation);
    if (!rest.empty()) words[index] = rest;
}

RestartFinder::RestartFinder(std::span<const std::string_view> list) : words(list) {
    std::ranges::copy_if(words.ids(), std::back_inserter(spoken), [](Id id) { return id != LooseWords::emptyForm; });
}

std::optional<std::size_t> RestartFinder::findRestart() const {
    const std::size_t count = words.ids().size();
    if (count < fewestWords) return std::nullopt;
    const bool isShort = count <= mostWordsOfShortText;
    const std::size_t probe = isShort ? shortProbe : std::min(count / 5, longestProbe);
    if (count < 2 * probe) return std::nullopt;
    for (std::size_t i = isShort ? shortProbe : count / 5; i + probe <= count; ++i) {
        const bool isHit = beginsLikeText(i, 0, probe) || (beginsLikeText(i, 1, probe) && isFusedWithFirst(i - 1));
        if (isHit && isRepeatOfHead(i)) return i;
    }
    return std::nullopt;
}

bool RestartFinder::beginsLikeText(std::size_t position, std::size_t probeBegin, std::size_t probeEnd) const {
    const auto probe = words.ids().subspan(probeBegin, probeEnd - probeBegin);
    return std::ranges::equal(words.ids().subspan(position, probe.size()), probe,
                              [&](Id a, Id b) { return words.match(a, b); });
}

bool RestartFinder::isFusedWithFirst(std::size_t position) const {
    return isFused(words.form(words.ids()[position]), words.form(words.ids().front()));
}

bool RestartFinder::isRepeatOfHead(std::size_t cut) const {
    const std::size_t count = words.ids().size(), tail = count - cut;
    const std::size_t fewest = count <= mostWordsForFixedTail ? fewestTailWords : count / 3;
    if (tail < fewest) return false;
    // The first word may be the one that the restart was fused with.
    const std::size_t headBegin = cut >= 1 && cut - 1 >= tail ? 1 : 0;
    return cut - headBegin >= fewestHeadWords && tailSimilarity(headBegin, cut) >= likeness;
}

double RestartFinder::tailSimilarity(std::size_t headBegin, std::size_t cut) const {
    const auto tail = words.ids().subspan(cut);
    const std::size_t length = tail.size() - std::ranges::count(tail, LooseWords::emptyForm);
    if (length == 0 || headHasEnd(headBegin, cut, length)) return 1;
    if (length >= fewestWordsForSeam && headHasEnd(headBegin, cut, length - 1)) return 1;
    const auto isInHead = [&](Id id) {
        if (id == LooseWords::emptyForm) return false;
        const auto places = words.positionsOf(id);
        return *std::ranges::lower_bound(places, headBegin) < cut; // there is one: the word itself
    };
    return static_cast<double>(std::ranges::count_if(tail, isInHead)) / static_cast<double>(length);
}

/// True if the last `length` spoken words stand in a row in [headBegin, headEnd).
bool RestartFinder::headHasEnd(std::size_t headBegin, std::size_t headEnd, std::size_t length) const {
    if (headEnd - headBegin < length) return false;
    const auto ends = std::span(runs()).subspan(headBegin + length - 1, headEnd - headBegin - length + 1);
    return std::ranges::any_of(ends, [&](std::size_t run) { return run >= length; });
}

const std::vector<std::size_t>& RestartFinder::runs() const {
    if (!runsOfEnd.empty()) return runsOfEnd;
    const auto ids = words.ids();
    runsOfEnd.resize(ids.size());
    for (std::size_t end = 0; end < ids.size(); ++end) {
        std::size_t length = 0;
        while (length <= end && length < spoken.size() &&
               words.match(ids[end - length], spoken[spoken.size() - 1 - length]))
            ++length;
        runsOfEnd[end] = length;
    }
    return runsOfEnd;
}

} // namespace tavrin
