#include "dictation/text/Salutations.h"

#include "dictation/text/WordLists.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <optional>
#include <span>

namespace tavrin {

namespace {

constexpr std::string_view greetings[] = {
    // longest first
    "good afternoon", "good morning", "good evening", "hello", "dear", "hey", "hi",
};
/// A title counts as the first of the two words, so none needs to be known.
constexpr std::size_t mostNameWords = 2;
constexpr std::string_view nameStopWords[] = {
    "i",          "we",        "thanks",    "thank", "hope", "please",        "just",  "wanted", "writing",
    "reaching",   "further",   "as",        "this",  "it",   "good",          "great", "lovely", "sorry",
    "appreciate", "regarding", "following", "quick", "also", "unfortunately", "happy",
};
constexpr std::string_view notAName[] = {
    "the", "a",   "an", "all",  "any", "my",   "our", "your", "his",  "her",  "their", "this", "that",
    "be",  "get", "go", "make", "do",  "have", "see", "know", "take", "come", "give",  "find",
};

/// What replaces [begin, end).
struct Break {
    std::size_t begin = 0, end = 0;
    std::string line;
};

std::string keyOf(std::string_view word) {
    const std::string lower = lowercased(word);
    return std::string(trimmed(lower, isPunctuation));
}

void skipBlanks(std::string_view text, std::size_t& position) {
    position = std::min(text.find_first_not_of(' ', position), text.size());
}

/// Up to the next white space.
std::string_view readWord(std::string_view text, std::size_t& position) {
    const std::size_t begin = position;
    for (std::size_t next = position; position < text.size(); position = next)
        if (isWhiteSpace(nextCodePoint(text, next))) break;
    return text.substr(begin, position - begin);
}

/// Behind `greeting` if the text at `begin` has it, as whole words.
std::optional<std::size_t> endOfGreeting(std::string_view text, std::size_t begin, std::string_view greeting) {
    if (lowercasedAscii(text.substr(begin, greeting.size())) != greeting) return std::nullopt;
    const std::size_t end = begin + greeting.size();
    std::size_t next = end;
    if (end < text.size() && !isWhiteSpace(nextCodePoint(text, next))) return std::nullopt;
    return end;
}

/// The greeting in [begin, greetingEnd) with the name behind it, if text follows. White space does not end `text`.
std::optional<Break> breakBehindName(std::string_view text, std::size_t begin, std::size_t greetingEnd,
                                     std::span<const std::string_view> notFirst = {}) {
    std::size_t position = greetingEnd;
    const std::vector<std::string_view> words = readNameWords(text, position);
    if (words.empty() || isOneOf(keyOf(words.front()), notFirst)) return std::nullopt;
    const std::string name = joined(words);
    const std::string_view bare = trimmedEnd(name, isWhiteSpaceOrPunctuation);
    skipBlanks(text, position);
    if (bare.empty() || position == text.size()) return std::nullopt;
    std::string line(text.substr(begin, greetingEnd - begin));
    return Break{begin, position, line.append(" ").append(bare).append(",\n\n")};
}

std::optional<Break> breakBehindGreeting(std::string_view text, std::size_t begin) {
    for (const std::string_view greeting : greetings) {
        const auto end = endOfGreeting(text, begin, greeting);
        if (end) return breakBehindName(text, begin, *end);
    }
    return std::nullopt;
}

std::optional<Break> breakBehindTo(std::string_view text) {
    const auto end = endOfGreeting(text, 0, "to");
    return end ? breakBehindName(text, 0, *end, notAName) : std::nullopt;
}

bool endsSentence(char32_t codePoint) {
    return codePoint == '.' || codePoint == '!' || codePoint == '?';
}

std::vector<Break> findBreaks(std::string_view text) {
    std::vector<Break> breaks;
    char32_t lastVisible = 0; // before the position, white space apart
    for (std::size_t position = 0;;) {
        skipBlanks(text, position);
        if (position == text.size()) return breaks;
        std::optional<Break> found;
        if (position == 0) found = breakBehindTo(text);
        if (!found && (position == 0 || endsSentence(lastVisible))) found = breakBehindGreeting(text, position);
        if (found) {
            position = found->end;
            std::size_t before = trimmedEnd(text.substr(0, position)).size();
            lastVisible = previousCodePoint(text, before);
            if (text[position] != '\n') breaks.push_back(std::move(*found));
            continue;
        }
        const char32_t codePoint = nextCodePoint(text, position);
        if (!isWhiteSpace(codePoint)) lastVisible = codePoint;
    }
}

} // namespace

std::string insertSalutationBreaks(std::string_view text) {
    std::string result;
    std::size_t done = 0;
    for (const Break& place : findBreaks(trimmedEnd(text))) {
        result.append(text.substr(done, place.begin - done)).append(place.line);
        done = place.end;
    }
    return result.append(text.substr(done));
}

std::vector<std::string_view> readNameWords(std::string_view text, std::size_t& position) {
    std::vector<std::string_view> name;
    while (name.size() < mostNameWords) {
        std::size_t end = position;
        skipBlanks(text, end);
        const std::string_view word = readWord(text, end);
        if (word.empty() || (!name.empty() && isOneOf(keyOf(word), nameStopWords))) break;
        name.push_back(word);
        position = end;
    }
    return name;
}

} // namespace tavrin
