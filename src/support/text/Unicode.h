#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Text in UTF-8. A "character" is what a reader sees as one: an extended grapheme cluster. A "word" is a longest run
/// without white space. Case follows the Unicode rules of no particular language.
///
/// Bytes that are not UTF-8 never fail: each ill-formed sequence counts as one U+FFFD. Functions that build a new text
/// put U+FFFD there, functions that give views leave the bytes as they are.
/// Threads: every function may be called from any thread. Views live as long as the text they were given.
/// Errors:  std::runtime_error if the Unicode library's own data is missing, nothing else.
namespace tavrin {

// Code points

/// The White_Space property: blanks, tabulators, line ends, no-break space and the like.
bool isWhiteSpace(char32_t codePoint) noexcept;
/// General category P. Symbols such as "$", "+" and ">" are not punctuation.
bool isPunctuation(char32_t codePoint) noexcept;
/// General category L.
bool isLetter(char32_t codePoint) noexcept;
/// Decimal digits of any script.
bool isDigit(char32_t codePoint) noexcept;
bool isUppercase(char32_t codePoint) noexcept;
bool isWhiteSpaceOrPunctuation(char32_t codePoint) noexcept;

/// The code point at byte `position`, which moves behind it. `position` is less than the size of the text.
char32_t nextCodePoint(std::string_view text, std::size_t& position) noexcept;
/// The code point that ends at byte `position`, which moves to its beginning. `position` is not 0.
char32_t previousCodePoint(std::string_view text, std::size_t& position) noexcept;
std::u32string codePoints(std::string_view text);
/// Appends U+FFFD for what is no code point.
void appendUtf8(std::string& text, char32_t codePoint);

// Characters

std::size_t characterCount(std::string_view text);
std::vector<std::string_view> characters(std::string_view text);
/// The first or last `count` characters, all of them if there are fewer.
std::string_view firstCharacters(std::string_view text, std::size_t count);
std::string_view lastCharacters(std::string_view text, std::size_t count);
/// True if no character reaches over byte `position`; both ends of the text are boundaries.
bool isCharacterBoundary(std::string_view text, std::size_t position);

// Words

std::vector<std::string_view> words(std::string_view text);

/// The parts with `separator` between them.
template <class Parts>
std::string joined(const Parts& parts, std::string_view separator = " ") {
    std::string result;
    bool isFirst = true;
    for (const auto& part : parts) {
        if (!isFirst) result += separator;
        result += part;
        isFirst = false;
    }
    return result;
}

// Case and equality

std::string lowercased(std::string_view text);
std::string uppercased(std::string_view text);
/// The letters A to Z in lower case and every other byte as it is, so that positions stay.
std::string lowercasedAscii(std::string_view text);
/// Full case folding: "Straße" and "STRASSE" become the same.
std::string caseFolded(std::string_view text);

/// Normal form C.
std::string composed(std::string_view text);
/// Canonical equivalence: "é" equals "e" with a combining accent.
bool sameText(std::string_view a, std::string_view b);
/// Canonical equivalence after full case folding.
bool sameTextIgnoringCase(std::string_view a, std::string_view b);

// Trimming

using CodePointTest = bool (*)(char32_t);

/// Without the code points at both ends for which `drops` holds: white space unless told otherwise.
std::string_view trimmed(std::string_view text, CodePointTest drops = isWhiteSpace);
/// The same at the end alone.
std::string_view trimmedEnd(std::string_view text, CodePointTest drops = isWhiteSpace);

// Validity

bool isAscii(std::string_view text) noexcept;
bool isValidUtf8(std::string_view bytes) noexcept;
/// Puts U+FFFD in place of each ill-formed sequence.
std::string repairedUtf8(std::string_view bytes);

} // namespace tavrin
