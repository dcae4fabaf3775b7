#include "dictation/text/MergeOverlap.h"

#include "support/text/Unicode.h"

#include <algorithm>
#include <span>
#include <vector>

namespace tavrin {

namespace {

constexpr std::size_t shortestLoneWord = 4;

/// The words that lie wholly within the last characters of the text.
std::vector<std::string_view> lastWords(std::string_view text, std::size_t maximumCharacters) {
    const std::string_view end = lastCharacters(text, maximumCharacters);
    std::vector<std::string_view> result = words(end);
    const std::string_view before = text.substr(0, text.size() - end.size());
    const bool isCut = !before.empty() && !isWhiteSpace(codePoints(lastCharacters(before, 1)).back());
    if (isCut && !result.empty() && result.front().data() == end.data()) result.erase(result.begin());
    return result;
}

/// Composed, so that equal means canonically equivalent.
std::vector<std::string> normalForms(std::span<const std::string_view> wordList) {
    std::vector<std::string> forms;
    for (const std::string_view word : wordList)
        forms.push_back(composed(normalizedWord(word)));
    return forms;
}

bool isEvidence(std::span<const std::string> run) {
    const auto counts = [](const std::string& form) { return !form.empty(); };
    const auto count = std::ranges::count_if(run, counts);
    if (count != 1) return count > 1;
    return characterCount(*std::ranges::find_if(run, counts)) >= shortestLoneWord;
}

/// How many words the overlap has.
std::size_t overlapLength(std::span<const std::string> left, std::span<const std::string> right) {
    for (std::size_t length = std::min(left.size(), right.size()); length > 0; --length) {
        const auto run = right.first(length);
        if (std::ranges::equal(left.last(length), run) && isEvidence(run)) return length;
    }
    return 0;
}

} // namespace

std::string normalizedWord(std::string_view word) {
    const std::string lower = lowercased(word);
    const std::string_view bare = trimmed(lower, isPunctuation);
    if (bare == "ve" || bare == "i've") return "ive";
    if (bare == "dont") return "don't";
    return std::string(bare);
}

std::string_view withoutOverlap(std::string_view left, std::string_view right, std::size_t maximumCharacters) {
    const std::string_view rest = trimmed(right);
    const std::vector<std::string_view> ending = lastWords(trimmed(left), maximumCharacters);
    std::vector<std::string_view> beginning = words(rest);
    beginning.resize(std::min(beginning.size(), ending.size()));
    const std::size_t length = overlapLength(normalForms(ending), normalForms(beginning));
    if (length == 0) return rest;
    const std::string_view lastTaken = beginning[length - 1];
    const auto taken = static_cast<std::size_t>(lastTaken.data() + lastTaken.size() - rest.data());
    return trimmed(rest.substr(taken));
}

std::string mergeOverlap(std::string_view left, std::string_view right, std::size_t maximumCharacters) {
    std::string result(trimmed(left));
    const std::string_view rest = withoutOverlap(left, right, maximumCharacters);
    if (!result.empty() && !rest.empty()) result += ' ';
    result += rest;
    return result;
}

} // namespace tavrin
