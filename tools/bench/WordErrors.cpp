#include "bench/WordErrors.h"

#include "dictation/text/EditDistance.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <numeric>
#include <optional>
#include <utility>

namespace tavrin {

namespace {

using Pair = std::pair<std::string_view, std::string_view>;

constexpr std::array<std::string_view, 20> smallNumbers{
    "zero", "one",    "two",    "three",    "four",     "five",    "six",     "seven",     "eight",    "nine",
    "ten",  "eleven", "twelve", "thirteen", "fourteen", "fifteen", "sixteen", "seventeen", "eighteen", "nineteen"};
constexpr std::array<std::string_view, 10> tens{"",      "",      "twenty",  "thirty", "forty",
                                                "fifty", "sixty", "seventy", "eighty", "ninety"};
constexpr std::array<Pair, 8> irregularOrdinals{{{"one", "first"},
                                                 {"two", "second"},
                                                 {"three", "third"},
                                                 {"five", "fifth"},
                                                 {"eight", "eighth"},
                                                 {"nine", "ninth"},
                                                 {"twelve", "twelfth"},
                                                 {"zero", "zeroth"}}};
constexpr std::array<std::string_view, 4> ordinalEndings{"st", "nd", "rd", "th"};
/// Spellings of the same word.
constexpr std::array<Pair, 19> sameWords{{{"mr", "mister"},
                                          {"mrs", "missus"},
                                          {"ms", "miss"},
                                          {"dr", "doctor"},
                                          {"st", "saint"},
                                          {"ok", "okay"},
                                          {"vs", "versus"},
                                          {"harbour", "harbor"},
                                          {"neighbour", "neighbor"},
                                          {"neighbours", "neighbors"},
                                          {"theatre", "theater"},
                                          {"centre", "center"},
                                          {"metre", "meter"},
                                          {"metres", "meters"},
                                          {"colour", "color"},
                                          {"favourite", "favorite"},
                                          {"programme", "program"},
                                          {"grey", "gray"},
                                          {"summarise", "summarize"}}};

constexpr char32_t rightQuote = U'\u2019';

/// Lower case, with blanks for what parts words.
std::string parted(std::string_view text) {
    const std::u32string points = codePoints(lowercased(text));
    std::string result;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const char32_t point = points[i];
        const bool isInNumber = i > 0 && i + 1 < points.size() && isDigit(points[i - 1]) && isDigit(points[i + 1]);
        if (point == U'\'' || point == rightQuote || (point == U',' && isInNumber)) continue;
        if (isLetter(point) || isDigit(point))
            appendUtf8(result, point);
        else if (point == U'%')
            result += " percent ";
        else if (point == U'&')
            result += " and ";
        else
            result += ' ';
    }
    return result;
}

void appendBelowThousand(std::vector<std::string>& words, unsigned number) {
    if (number >= 100) {
        words.emplace_back(smallNumbers[number / 100]);
        words.emplace_back("hundred");
        number %= 100;
        if (number == 0) return;
    }
    if (number >= smallNumbers.size()) {
        words.emplace_back(tens[number / 10]);
        number %= 10;
        if (number == 0) return;
    }
    words.emplace_back(smallNumbers[number]);
}

std::vector<std::string> spoken(unsigned number) {
    std::vector<std::string> words;
    if (number >= 1000) {
        appendBelowThousand(words, number / 1000);
        words.emplace_back("thousand");
        if (number % 1000 == 0) return words;
    }
    appendBelowThousand(words, number % 1000);
    return words;
}

std::string ordinal(const std::string& cardinal) {
    const auto* const found = std::ranges::find(irregularOrdinals, cardinal, &Pair::first);
    if (found != irregularOrdinals.end()) return std::string(found->second);
    if (cardinal.ends_with('y')) return cardinal.substr(0, cardinal.size() - 1) + "ieth";
    return cardinal + (cardinal.ends_with('t') ? "h" : "th");
}

/// The words of a number as it is written, e.g. "21" or "21st".
std::optional<std::vector<std::string>> numberWords(std::string_view token) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), number);
    if (error != std::errc() || number >= 1'000'000) return std::nullopt;
    const std::string_view ending(end, token.data() + token.size());
    const bool isOrdinal = std::ranges::find(ordinalEndings, ending) != ordinalEndings.end();
    if (!ending.empty() && !isOrdinal) return std::nullopt;
    auto words = spoken(number);
    if (isOrdinal) words.back() = ordinal(words.back());
    return words;
}

std::u32string comparableText(std::string_view text) {
    return codePoints(joined(comparableWords(text)));
}

} // namespace

std::vector<std::string> comparableWords(std::string_view text) {
    const std::string clean = parted(text);
    std::vector<std::string> found;
    for (const std::string_view token : words(clean)) {
        if (auto number = numberWords(token)) {
            std::ranges::move(*number, std::back_inserter(found));
        } else {
            const auto* const same = std::ranges::find(sameWords, token, &Pair::first);
            found.emplace_back(same == sameWords.end() ? token : same->second);
        }
    }
    return found;
}

double WordErrors::percent() const noexcept {
    return words == 0 ? 0.0 : 100.0 * static_cast<double>(errors) / static_cast<double>(words);
}

WordErrors& WordErrors::operator+=(const WordErrors& other) noexcept {
    words += other.words;
    errors += other.errors;
    return *this;
}

WordErrors wordErrors(std::string_view said, std::string_view heard) {
    const auto expected = comparableWords(said), found = comparableWords(heard);
    // distance[j]: between the words said so far and the first j words heard.
    std::vector<std::size_t> distance(found.size() + 1);
    std::iota(distance.begin(), distance.end(), std::size_t{0});
    for (std::size_t i = 0; i < expected.size(); ++i) {
        std::size_t diagonal = distance[0];
        distance[0] = i + 1;
        for (std::size_t j = 0; j < found.size(); ++j) {
            const std::size_t replaced = diagonal + (expected[i] == found[j] ? 0 : 1);
            diagonal = distance[j + 1];
            distance[j + 1] = std::min({replaced, diagonal + 1, distance[j] + 1});
        }
    }
    return {.words = expected.size(), .errors = distance.back()};
}

bool isSaidBy(std::string_view other, std::string_view own, std::string_view heard) {
    const std::u32string line = comparableText(heard);
    const std::size_t changes = distanceToPiece(line, comparableText(other));
    return 2 * changes <= line.size() && changes < distanceToPiece(line, comparableText(own));
}

std::size_t lostWords(std::string_view said, std::string_view heard) {
    const auto expected = comparableWords(said);
    const auto found = comparableWords(heard);
    std::vector<std::size_t> row(found.size() + 1); // longest common subsequence with the first so many found words
    for (const std::string& word : expected) {
        std::size_t diagonal = 0;
        for (std::size_t j = 1; j <= found.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = word == found[j - 1] ? diagonal + 1 : std::max(row[j], row[j - 1]);
            diagonal = above;
        }
    }
    return expected.size() - row.back();
}

} // namespace tavrin
