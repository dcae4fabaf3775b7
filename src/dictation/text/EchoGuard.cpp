#include "dictation/text/EchoGuard.h"

#include "dictation/text/EchoAlignment.h"
#include "dictation/text/EditDistance.h"
#include "dictation/text/WordLists.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <span>
#include <unordered_set>
#include <vector>

namespace tavrin {

namespace {

constexpr std::size_t fewestWords = 4;
constexpr std::size_t charactersOfLongWord = 3, fewestLongWords = 5;
constexpr double echoLongWords = 0.7, ownLongWords = 0.35;
constexpr std::size_t wordsCompared = 80;
constexpr double echoInOrder = 0.55;
constexpr std::size_t shortFrom = 3, shortTo = 8, fewestMatches = 2;
constexpr double nothingLeft = 0.85, worthCutting = 0.5;
constexpr std::size_t fewestComparedLetters = 8, mostComparedLetters = 400;
constexpr std::size_t mostReferenceWords = 2000, wordsAlignedAtOnce = 100;

using Forms = std::vector<std::string>;

/// Empty for a word of punctuation alone.
std::string formOf(std::string_view word) {
    const std::string lower = lowercased(word);
    return composed(trimmed(lower, isPunctuation));
}

Forms formsOf(std::string_view text) {
    Forms result;
    for (const std::string_view word : words(text))
        if (std::string form = formOf(word); !form.empty()) result.push_back(std::move(form));
    return result;
}

Forms referenceForms(std::string_view text) {
    Forms forms = formsOf(text);
    forms.erase(forms.begin(), forms.end() - static_cast<std::ptrdiff_t>(std::min(forms.size(), mostReferenceWords)));
    return forms;
}

bool holdsWhole(const Forms& reference, const Forms& candidate) {
    return candidate.size() >= fewestWords && joined(reference).contains(joined(candidate));
}

Forms longWordsOf(std::span<const std::string> forms) {
    Forms result;
    std::ranges::copy_if(forms, std::back_inserter(result),
                         [](const std::string& form) { return characterCount(form) >= charactersOfLongWord; });
    return result;
}

using WordSet = std::unordered_set<std::string_view>;

WordSet setOf(const Forms& forms) {
    return WordSet(forms.begin(), forms.end());
}

bool sharesLongWords(const Forms& candidate, const Forms& reference) {
    const Forms heardWords = longWordsOf(candidate);
    const WordSet heard = setOf(heardWords), said = setOf(reference);
    if (heard.size() < fewestLongWords) return false;
    const auto found = std::ranges::count_if(heard, [&](std::string_view word) { return said.contains(word); });
    return share(static_cast<std::size_t>(found), heard.size()) >= echoLongWords;
}

/// The words in a row of the reference, as many as are compared, that hold most of the candidate's: an echo may be of
/// any line of the other side.
std::span<const std::string> likeliestStretch(const Forms& candidate, const Forms& reference) {
    const std::size_t length = std::min(wordsCompared, reference.size());
    const WordSet heard = setOf(candidate);
    std::size_t held = 0, most = 0, best = 0;
    for (std::size_t end = 0; end < reference.size(); ++end) {
        if (heard.contains(reference[end])) ++held;
        if (end >= length && heard.contains(reference[end - length])) --held;
        if (end + 1 < length || held <= most) continue;
        most = held;
        best = end + 1 - length;
    }
    return std::span(reference).subspan(best, length);
}

std::size_t longestCommonSubsequence(std::span<const std::string> a, std::span<const std::string> b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (const std::string& word : a) {
        std::size_t diagonal = 0;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = word == b[j - 1] ? diagonal + 1 : std::max(above, row[j - 1]);
            diagonal = above;
        }
    }
    return row.back();
}

bool sharesOrder(const Forms& candidate, const Forms& reference) {
    const auto heard = std::span(candidate).first(std::min(wordsCompared, candidate.size()));
    const std::size_t common = longestCommonSubsequence(heard, likeliestStretch(candidate, reference));
    return share(common, candidate.size()) >= echoInOrder;
}

/// True if so few of the longer words were said by the other side that the line is the user's own.
bool isOwn(const Forms& candidate, const Forms& reference) {
    const Forms heard = longWordsOf(candidate);
    if (heard.size() < fewestLongWords) return false;
    const WordSet said = setOf(reference);
    const auto found = std::ranges::count_if(heard, [&](std::string_view word) { return said.contains(word); });
    return share(static_cast<std::size_t>(found), heard.size()) < ownLongWords;
}

/// Aligned in pieces, so that no length of text takes more than some megabytes.
std::vector<bool> marksOf(const Forms& candidate, const Forms& reference) {
    std::vector<bool> marks;
    for (std::size_t begin = 0; begin < candidate.size(); begin += wordsAlignedAtOnce) {
        const auto rest = std::span(candidate).subspan(begin);
        const auto some = echoedWords(rest.first(std::min(rest.size(), wordsAlignedAtOnce)), reference);
        marks.insert(marks.end(), some.begin(), some.end());
    }
    return marks;
}

/// The text without the marked words. Words of punctuation alone, which have no mark, go with the word before them.
std::string survivors(std::string_view text, const std::vector<bool>& marks) {
    std::vector<std::string_view> kept;
    std::size_t next = 0;
    bool isCut = marks.front();
    for (const std::string_view word : words(text)) {
        if (!formOf(word).empty()) isCut = marks[next++];
        if (!isCut) kept.push_back(word);
    }
    return joined(kept);
}

} // namespace

bool isHeardIn(std::string_view candidate, std::string_view reference) {
    const Forms heard = formsOf(candidate), said = referenceForms(reference);
    if (heard.empty()) return false;
    const std::u32string letters = codePoints(joined(heard, ""));
    if (letters.size() < fewestComparedLetters) return !std::ranges::search(said, heard).empty();
    if (letters.size() > mostComparedLetters) return false;
    return 4 * distanceToPiece(letters, codePoints(joined(said, ""))) < letters.size();
}

bool isLikelyEcho(std::string_view candidate, std::string_view reference) {
    const Forms heard = formsOf(candidate), said = referenceForms(reference);
    if (heard.size() < fewestWords || said.empty()) return false;
    return holdsWhole(said, heard) || sharesLongWords(heard, said) || sharesOrder(heard, said);
}

std::optional<std::string> stripEchoedWords(std::string_view candidate, std::string_view reference) {
    std::string text = repairedUtf8(candidate);
    const Forms heard = formsOf(text), said = referenceForms(reference);
    if (holdsWhole(said, heard)) return std::nullopt;
    if (heard.empty() || isOwn(heard, said)) return text;
    const std::vector<bool> marks = marksOf(heard, said);
    const auto removed = static_cast<std::size_t>(std::ranges::count(marks, true));
    const double cut = share(removed, heard.size());
    const bool isShort = heard.size() >= shortFrom && heard.size() <= shortTo;
    if (removed == heard.size() || (isShort && removed >= fewestMatches && cut >= nothingLeft)) return std::nullopt;
    return removed > 0 && cut >= worthCutting ? survivors(text, marks) : text;
}

} // namespace tavrin
