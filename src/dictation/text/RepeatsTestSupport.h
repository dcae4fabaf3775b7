#pragma once

#include "dictation/text/LooseWords.h"
#include "dictation/text/MergeOverlap.h"
#include "dictation/text/RepeatedTail.h"
#include "dictation/text/RestartedSpeech.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// The rules for repeated speech written down as plainly as can be, whatever they cost: what the fast ones are held
/// against.
namespace tavrin::plain {

using Words = std::vector<std::string>;

inline Words part(const Words& all, std::size_t begin, std::size_t end) {
    return {all.begin() + static_cast<std::ptrdiff_t>(begin), all.begin() + static_cast<std::ptrdiff_t>(end)};
}
inline Words withoutFirst(const Words& all) {
    return part(all, 1, all.size());
}
inline Words normalForms(const Words& all) {
    Words forms;
    for (const auto& word : all)
        forms.push_back(normalizedWord(word));
    return forms;
}
inline std::size_t alikeAt(const Words& haystack, std::size_t offset, const Words& needle) {
    std::size_t count = 0;
    for (std::size_t t = 0; t < needle.size(); ++t)
        if (looseWordMatch(haystack[offset + t], needle[t])) ++count;
    return count;
}
inline double overlap(const Words& head, const Words& needle) {
    const std::set<std::string> said(head.begin(), head.end());
    const auto found = std::ranges::count_if(needle, [&](auto& word) { return !word.empty() && said.contains(word); });
    return static_cast<double>(found) / static_cast<double>(needle.size());
}
/// How many words match at the place in the head where most do.
inline std::size_t bestAlignment(const Words& head, const Words& needle) {
    std::size_t most = 0;
    for (std::size_t offset = 0; offset + needle.size() <= head.size(); ++offset)
        most = std::max(most, alikeAt(head, offset, needle));
    return most;
}
inline bool containsRun(const Words& head, const Words& needle) {
    return !needle.empty() && bestAlignment(head, needle) == needle.size();
}
inline bool isAligned(const Words& head, const Words& needle, double least) {
    return static_cast<double>(bestAlignment(head, needle)) / static_cast<double>(needle.size()) >= least;
}

inline double tailSimilarity(const Words& rawHead, const Words& rawTail) {
    const Words head = normalForms(rawHead);
    Words tail = normalForms(rawTail);
    std::erase(tail, "");
    if (tail.empty() || containsRun(head, tail)) return 1;
    if (tail.size() >= 5 && containsRun(head, withoutFirst(tail))) return 1;
    return overlap(head, tail);
}
inline bool isRepeatOfHead(const Words& all, std::size_t cut) {
    const Words tail = part(all, cut, all.size());
    if (tail.size() < (all.size() <= 47 ? 16 : all.size() / 3)) return false;
    const bool isCut = cut >= 1 && cut - 1 >= tail.size();
    const Words head = part(all, isCut ? 1 : 0, cut);
    return head.size() >= 8 && tailSimilarity(head, tail) >= 0.8;
}
inline bool matchesProbe(const Words& forms, std::size_t at, const Words& probe) {
    return at + probe.size() <= forms.size() && alikeAt(forms, at, probe) == probe.size();
}
inline bool isFused(const std::string& word, const std::string& first) {
    return characterCount(first) >= 2 && characterCount(word) >= characterCount(first) + 3 && word.ends_with(first);
}
inline std::optional<std::size_t> findRestart(const Words& all) {
    const std::size_t n = all.size();
    if (n < 16) return std::nullopt;
    const std::size_t p = n <= 29 ? 6 : std::min<std::size_t>(n / 5, 12);
    if (n < 2 * p) return std::nullopt;
    const Words forms = normalForms(all), probe = part(forms, 0, p);
    for (std::size_t i = n <= 29 ? 6 : n / 5; i <= n - p; ++i) {
        if (matchesProbe(forms, i, probe) && isRepeatOfHead(all, i)) return i;
        if (isFused(forms[i - 1], probe[0]) && matchesProbe(forms, i, withoutFirst(probe)) && isRepeatOfHead(all, i))
            return i;
    }
    return std::nullopt;
}
inline std::string collapseRestarts(const std::string& text) {
    const auto views = tavrin::words(text);
    Words all(views.begin(), views.end());
    if (all.size() < 16) return text;
    while (const auto cut = findRestart(all)) {
        std::vector<std::string_view> kept(all.begin(), all.end());
        repairFusedWord(kept, *cut - 1, kept[0]);
        all = Words(kept.begin(), kept.begin() + static_cast<std::ptrdiff_t>(*cut));
    }
    return joined(all);
}

inline std::string collapseAdjacentPhrases(const std::string& text) {
    const auto views = tavrin::words(text);
    Words all(views.begin(), views.end());
    if (all.size() < 4) return text;
    const auto removeOne = [&] {
        const std::size_t n = all.size();
        for (std::size_t k = std::min<std::size_t>(n / 2, 64); k >= 2; --k)
            for (std::size_t s = 0; s + 2 * k <= n; ++s) {
                const auto first = all.begin() + static_cast<std::ptrdiff_t>(s), second = first + std::ptrdiff_t(k);
                const auto equal = [](auto& a, auto& b) { return sameText(lowercased(a), lowercased(b)); };
                if (!std::equal(first, second, second, equal)) continue;
                all.erase(second, second + static_cast<std::ptrdiff_t>(k));
                return true;
            }
        return false;
    };
    while (removeOne()) {
    }
    return joined(all);
}

inline bool partialRepeat(const Words& head, const Words& tail) {
    if (tail.size() < 9 || tail[0].empty()) return false;
    const Words rest = withoutFirst(tail);
    if (!containsRun(head, rest) && (rest.size() < 8 || !isAligned(head, rest, 0.9))) return false;
    const std::string& last = head.back();
    const bool isSeam = looseWordMatch(tail[0], last) ||
                        (tail[0].starts_with(last) && characterCount(tail[0]) < characterCount(last) + 4);
    return isSeam || rest.size() >= 12;
}
inline bool isRepeatedTail(const Words& head, const Words& tail) {
    if (head.size() < 8) return false;
    const Words rest = withoutFirst(tail);
    if (containsRun(head, tail) || (rest.size() >= 8 && containsRun(head, rest))) return true;
    if (partialRepeat(head, tail)) return true;
    if (overlap(head, tail) >= 0.85 && isAligned(head, tail, 0.8)) return true;
    return rest.size() >= 8 && overlap(head, rest) >= 0.9 && isAligned(head, rest, 0.85);
}
inline std::string dropRepeatedTail(const std::string& text) {
    auto all = tavrin::words(text);
    if (all.size() < 16) return text;
    const std::size_t before = all.size();
    const auto removeOne = [&] {
        const Words forms = normalForms(Words(all.begin(), all.end()));
        for (std::size_t length = forms.size() / 2; length >= 8; --length) {
            const std::size_t cut = forms.size() - length;
            if (!isRepeatedTail(part(forms, 0, cut), part(forms, cut, forms.size()))) continue;
            all.resize(cut);
            return true;
        }
        return false;
    };
    while (all.size() > 15 && removeOne()) {
    }
    if (all.size() < before) trimFusedFragment(all);
    return joined(all);
}

} // namespace tavrin::plain
