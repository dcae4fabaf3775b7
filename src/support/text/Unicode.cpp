#include "support/text/Unicode.h"

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>

namespace tavrin {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

void check(UErrorCode status, const char* what) {
    if (U_FAILURE(status)) throw std::runtime_error(std::string(what) + ": " + u_errorName(status));
}

/// ICU counts in 32 bits; no text of ours comes near that.
std::int32_t length32(std::string_view text) {
    if (text.size() > std::numeric_limits<std::int32_t>::max()) throw std::length_error("text of more than 2 GB");
    return static_cast<std::int32_t>(text.size());
}

icu::StringPiece piece(std::string_view text) {
    length32(text);
    return {text};
}

/// The character boundaries of one text. Making the iterator is dear, so each thread keeps one.
class CharacterBoundaries {
public:
    explicit CharacterBoundaries(std::string_view text) : iterator(iteratorOfThisThread()) {
        UErrorCode status = U_ZERO_ERROR;
        utext_openUTF8(&source, text.data(), static_cast<std::int64_t>(text.size()), &status);
        iterator.setText(&source, status);
        check(status, "character boundaries");
    }
    ~CharacterBoundaries() { utext_close(&source); }
    CharacterBoundaries(const CharacterBoundaries&) = delete;
    CharacterBoundaries& operator=(const CharacterBoundaries&) = delete;

    icu::BreakIterator& operator*() { return iterator; }
    icu::BreakIterator* operator->() { return &iterator; }

private:
    static icu::BreakIterator& iteratorOfThisThread() {
        thread_local const std::unique_ptr<icu::BreakIterator> kept = [] {
            UErrorCode status = U_ZERO_ERROR;
            std::unique_ptr<icu::BreakIterator> made(
                icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
            check(status, "character boundaries");
            return made;
        }();
        return *kept;
    }

    icu::BreakIterator& iterator;
    UText source = UTEXT_INITIALIZER;
};

/// In ASCII every byte is a character but for a carriage return with its line feed.
bool hasByteCharacters(std::string_view text) {
    return isAscii(text) && !text.contains('\r');
}

using CaseMapping = void (*)(icu::StringPiece, icu::ByteSink&, UErrorCode&);

std::string mapped(std::string_view text, CaseMapping mapping) {
    const std::string source = repairedUtf8(text); // ICU would pass ill-formed bytes on
    std::string result;
    icu::StringByteSink<std::string> sink(&result, length32(text));
    UErrorCode status = U_ZERO_ERROR;
    mapping(piece(source), sink, status);
    check(status, "case mapping");
    return result;
}

std::string normalized(std::string_view text, const icu::Normalizer2* (*form)(UErrorCode&)) {
    const std::string source = repairedUtf8(text);
    std::string result;
    icu::StringByteSink<std::string> sink(&result, length32(text));
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* normalizer = form(status);
    check(status, "normalization");
    normalizer->normalizeUTF8(0, piece(source), sink, nullptr, status);
    check(status, "normalization");
    return result;
}

std::string caselessForm(std::string_view text) {
    if (isAscii(text)) return caseFolded(text);
    return normalized(caseFolded(normalized(text, icu::Normalizer2::getNFDInstance)), icu::Normalizer2::getNFDInstance);
}

char asciiLowercase(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}
char asciiUppercase(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

std::string asciiMapped(std::string_view text, char (*mapping)(char) noexcept) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), mapping);
    return result;
}

} // namespace

bool isWhiteSpace(char32_t codePoint) noexcept {
    return u_isUWhiteSpace(static_cast<UChar32>(codePoint));
}
bool isPunctuation(char32_t codePoint) noexcept {
    return u_ispunct(static_cast<UChar32>(codePoint));
}
bool isLetter(char32_t codePoint) noexcept {
    return u_isalpha(static_cast<UChar32>(codePoint));
}
bool isDigit(char32_t codePoint) noexcept {
    return u_isdigit(static_cast<UChar32>(codePoint));
}
bool isUppercase(char32_t codePoint) noexcept {
    return u_isUUppercase(static_cast<UChar32>(codePoint));
}

bool isWhiteSpaceOrPunctuation(char32_t codePoint) noexcept {
    return isWhiteSpace(codePoint) || isPunctuation(codePoint);
}

char32_t nextCodePoint(std::string_view text, std::size_t& position) noexcept {
    const char* bytes = text.data();
    UChar32 codePoint = 0;
    U8_NEXT_OR_FFFD(bytes, position, text.size(), codePoint); // NOLINT(bugprone-inc-dec-in-conditions): ICU's macro
    return static_cast<char32_t>(codePoint);
}

char32_t previousCodePoint(std::string_view text, std::size_t& position) noexcept {
    const std::size_t windowBegin = position - std::min<std::size_t>(position, U8_MAX_LENGTH);
    const char* window = text.data() + windowBegin;
    auto index = static_cast<std::int32_t>(position - windowBegin);
    UChar32 codePoint = 0;
    U8_PREV_OR_FFFD(window, 0, index, codePoint);
    position = windowBegin + static_cast<std::size_t>(index);
    return static_cast<char32_t>(codePoint);
}

std::u32string codePoints(std::string_view text) {
    std::u32string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();)
        result += nextCodePoint(text, position);
    return result;
}

void appendUtf8(std::string& text, char32_t codePoint) {
    const bool isScalar = codePoint <= 0x10FFFF && !U_IS_SURROGATE(codePoint);
    const char32_t written = isScalar ? codePoint : replacementCharacter;
    std::array<char, U8_MAX_LENGTH> bytes{};
    std::int32_t length = 0;
    U8_APPEND_UNSAFE(bytes.data(), length, written);
    text.append(bytes.data(), static_cast<std::size_t>(length));
}

std::size_t characterCount(std::string_view text) {
    if (hasByteCharacters(text)) return text.size();
    CharacterBoundaries boundaries(text);
    std::size_t count = 0;
    while (boundaries->next() != icu::BreakIterator::DONE)
        ++count;
    return count;
}

std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> result;
    result.reserve(text.size());
    CharacterBoundaries boundaries(text);
    std::size_t begin = 0;
    for (std::int32_t end = boundaries->next(); end != icu::BreakIterator::DONE; end = boundaries->next()) {
        result.push_back(text.substr(begin, static_cast<std::size_t>(end) - begin));
        begin = static_cast<std::size_t>(end);
    }
    return result;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
    if (text.size() <= count) return text;
    CharacterBoundaries boundaries(text);
    std::int32_t end = 0;
    for (std::size_t i = 0; i < count && end != icu::BreakIterator::DONE; ++i)
        end = boundaries->next();
    return end == icu::BreakIterator::DONE ? text : text.substr(0, static_cast<std::size_t>(end));
}

std::string_view lastCharacters(std::string_view text, std::size_t count) {
    if (text.size() <= count) return text;
    CharacterBoundaries boundaries(text);
    std::int32_t begin = boundaries->last();
    for (std::size_t i = 0; i < count && begin != icu::BreakIterator::DONE; ++i)
        begin = boundaries->previous();
    return begin == icu::BreakIterator::DONE ? text : text.substr(static_cast<std::size_t>(begin));
}

bool isCharacterBoundary(std::string_view text, std::size_t position) {
    if (position == 0 || position >= text.size()) return position <= text.size();
    const auto isPlain = [](char c) { return c != '\r' && c != '\n' && isAscii({&c, 1}); };
    if (isPlain(text[position - 1]) && isPlain(text[position])) return true;
    CharacterBoundaries boundaries(text);
    return boundaries->isBoundary(length32(text.substr(0, position)));
}

std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> result;
    std::size_t wordBegin = 0;
    const auto endWord = [&](std::size_t end) {
        if (end > wordBegin) result.push_back(text.substr(wordBegin, end - wordBegin));
    };
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t begin = position;
        if (!isWhiteSpace(nextCodePoint(text, position))) continue;
        endWord(begin);
        wordBegin = position;
    }
    endWord(text.size());
    return result;
}

std::string lowercased(std::string_view text) {
    if (isAscii(text)) return asciiMapped(text, asciiLowercase);
    return mapped(text, [](icu::StringPiece source, icu::ByteSink& sink, UErrorCode& status) {
        icu::CaseMap::utf8ToLower("", 0, source, sink, nullptr, status);
    });
}

std::string uppercased(std::string_view text) {
    if (isAscii(text)) return asciiMapped(text, asciiUppercase);
    return mapped(text, [](icu::StringPiece source, icu::ByteSink& sink, UErrorCode& status) {
        icu::CaseMap::utf8ToUpper("", 0, source, sink, nullptr, status);
    });
}

std::string lowercasedAscii(std::string_view text) {
    return asciiMapped(text, asciiLowercase);
}

std::string caseFolded(std::string_view text) {
    if (isAscii(text)) return asciiMapped(text, asciiLowercase);
    return mapped(text, [](icu::StringPiece source, icu::ByteSink& sink, UErrorCode& status) {
        icu::CaseMap::utf8Fold(0, source, sink, nullptr, status);
    });
}

std::string composed(std::string_view text) {
    if (isAscii(text)) return std::string(text);
    return normalized(text, icu::Normalizer2::getNFCInstance);
}

bool sameText(std::string_view a, std::string_view b) {
    if (a == b) return true;
    if (isAscii(a) && isAscii(b)) return false;
    return composed(a) == composed(b);
}

bool sameTextIgnoringCase(std::string_view a, std::string_view b) {
    return a == b || caselessForm(a) == caselessForm(b);
}

std::string_view trimmed(std::string_view text, CodePointTest drops) {
    std::size_t begin = 0;
    for (std::size_t next = 0; begin < text.size(); begin = next)
        if (!drops(nextCodePoint(text, next))) break;
    return trimmedEnd(text.substr(begin), drops);
}

std::string_view trimmedEnd(std::string_view text, CodePointTest drops) {
    std::size_t end = text.size();
    for (std::size_t previous = end; end > 0; end = previous)
        if (!drops(previousCodePoint(text, previous))) break;
    return text.substr(0, end);
}

bool isAscii(std::string_view text) noexcept {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isValidUtf8(std::string_view bytes) noexcept {
    for (std::size_t position = 0; position < bytes.size();) {
        const std::size_t begin = position;
        if (nextCodePoint(bytes, position) != replacementCharacter) continue;
        if (bytes.substr(begin, position - begin) != "\ufffd") return false;
    }
    return true;
}

std::string repairedUtf8(std::string_view bytes) {
    if (isValidUtf8(bytes)) return std::string(bytes);
    std::string result;
    result.reserve(bytes.size());
    for (std::size_t position = 0; position < bytes.size();)
        appendUtf8(result, nextCodePoint(bytes, position));
    return result;
}

} // namespace tavrin
