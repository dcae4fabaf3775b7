#include "support/text/Regex.h"

#include "support/log/Log.h"
#include "support/text/Unicode.h"

#include <unicode/regex.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace tavrin {

namespace {

constexpr Logger log{"text"};

/// In units of ten thousand saved backtracking states.
constexpr std::int32_t searchLimit = 500;

/// A UTF-8 text as the UTF-16 that the matcher wants, with the way back to bytes.
class Utf16Text {
public:
    explicit Utf16Text(std::string_view text) {
        if (text.size() > std::numeric_limits<std::int32_t>::max() / 2)
            throw std::length_error("text too long to match");
        if (isAscii(text)) {
            units = icu::UnicodeString::fromUTF8(text);
            return;
        }
        byteOfUnit.reserve(text.size() + 1);
        for (std::size_t position = 0; position < text.size();) {
            const auto begin = static_cast<std::int32_t>(position);
            units.append(static_cast<UChar32>(nextCodePoint(text, position)));
            byteOfUnit.resize(static_cast<std::size_t>(units.length()), begin);
        }
        byteOfUnit.push_back(static_cast<std::int32_t>(text.size()));
    }

    const icu::UnicodeString& utf16() const { return units; }

    std::size_t byteAt(std::int32_t unit) const {
        const auto index = static_cast<std::size_t>(unit);
        return byteOfUnit.empty() ? index : static_cast<std::size_t>(byteOfUnit[index]);
    }

    /// The first unit at this byte or behind it.
    std::int32_t unitAt(std::size_t byte) const {
        if (byteOfUnit.empty()) return static_cast<std::int32_t>(std::min<std::size_t>(byte, units.length()));
        const auto found = std::ranges::lower_bound(byteOfUnit, byte, {}, [](auto b) { return std::size_t(b); });
        return static_cast<std::int32_t>(std::min(found, byteOfUnit.end() - 1) - byteOfUnit.begin());
    }

private:
    icu::UnicodeString units;
    std::vector<std::int32_t> byteOfUnit; // empty for ASCII, where both count alike; else one more than units
};

} // namespace

class Regex::Compiled {
public:
    Compiled(std::string_view patternText, Case letterCase) : source(patternText) {
        UErrorCode status = U_ZERO_ERROR;
        UParseError where{};
        const std::uint32_t flags = letterCase == Case::insensitive ? UREGEX_CASE_INSENSITIVE : 0;
        pattern.reset(icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(source), flags, where, status));
        if (U_FAILURE(status))
            throw std::invalid_argument("bad pattern \"" + source + "\" at " + std::to_string(where.offset) + ": " +
                                        u_errorName(status));
    }

    std::string source;
    std::unique_ptr<const icu::RegexPattern> pattern;
};

/// One walk through one text.
class Regex::Search {
public:
    Search(std::shared_ptr<const Compiled> expression, std::string_view text)
        : compiled(std::move(expression)), subject(text), converted(text) {
        UErrorCode status = U_ZERO_ERROR;
        matcher.reset(compiled->pattern->matcher(converted.utf16(), status));
        if (U_SUCCESS(status)) matcher->setTimeLimit(searchLimit, status);
        if (U_FAILURE(status)) throw std::runtime_error(std::string("regular expression: ") + u_errorName(status));
    }

    bool findNext() {
        UErrorCode status = U_ZERO_ERROR;
        return isHit(matcher->find(status), status);
    }
    bool findFrom(std::size_t byte) {
        if (byte > subject.size()) return false;
        UErrorCode status = U_ZERO_ERROR;
        return isHit(matcher->find(converted.unitAt(byte), status), status);
    }

    RegexMatch match() const {
        std::vector<std::optional<ByteRange>> ranges;
        const std::int32_t count = matcher->groupCount();
        ranges.reserve(static_cast<std::size_t>(count) + 1);
        for (std::int32_t group = 0; group <= count; ++group) {
            UErrorCode status = U_ZERO_ERROR;
            const std::int32_t begin = matcher->start(group, status);
            const std::int32_t end = matcher->end(group, status);
            if (U_FAILURE(status) || begin < 0)
                ranges.emplace_back();
            else
                ranges.emplace_back(ByteRange{converted.byteAt(begin), converted.byteAt(end)});
        }
        return {subject, std::move(ranges)};
    }

private:
    bool isHit(bool found, UErrorCode status) const {
        if (U_SUCCESS(status)) return found;
        log.warning("search given up: {} in pattern {}", u_errorName(status), compiled->source);
        return false;
    }

    std::shared_ptr<const Compiled> compiled;
    std::string_view subject;
    Utf16Text converted; // the matcher reads from it
    std::unique_ptr<icu::RegexMatcher> matcher;
};

Regex::Regex(std::string_view pattern, Case letterCase)
    : compiled(std::make_shared<const Compiled>(pattern, letterCase)) {}
Regex::~Regex() = default;
Regex::Regex(const Regex&) = default;
Regex::Regex(Regex&&) noexcept = default;
Regex& Regex::operator=(const Regex&) = default;
Regex& Regex::operator=(Regex&&) noexcept = default;

bool Regex::isFoundIn(std::string_view text) const {
    return Search(compiled, text).findNext();
}

std::optional<RegexMatch> Regex::first(std::string_view text, std::size_t from) const {
    Search search(compiled, text);
    if (!search.findFrom(from)) return std::nullopt;
    return search.match();
}

std::vector<RegexMatch> Regex::all(std::string_view text) const {
    std::vector<RegexMatch> result;
    Search search(compiled, text);
    while (search.findNext())
        result.push_back(search.match());
    return result;
}

std::string Regex::replaced(std::string_view text,
                            const std::function<std::string(const RegexMatch&)>& replacement) const {
    std::string result;
    std::size_t done = 0;
    Search search(compiled, text);
    while (search.findNext()) {
        const RegexMatch match = search.match();
        result += text.substr(done, match.range().begin - done);
        result += replacement(match);
        done = match.range().end;
    }
    result += text.substr(done);
    return result;
}

std::string Regex::replaced(std::string_view text, std::string_view replacement) const {
    return replaced(text, [&](const RegexMatch&) { return std::string(replacement); });
}

std::string Regex::escaped(std::string_view literal) {
    constexpr std::string_view special = R"(\*?+[](){}^$|./-&~#)";
    std::string result;
    for (const char c : literal) {
        if (special.contains(c)) result += '\\';
        result += c;
    }
    return result;
}

RegexMatch::RegexMatch(std::string_view text, std::vector<std::optional<ByteRange>> ranges)
    : subject(text), whole(ranges.front().value_or(ByteRange{})), groups(std::move(ranges)) {}

std::optional<std::string_view> RegexMatch::group(std::size_t number) const {
    if (number >= groups.size()) return std::nullopt;
    return groups[number].transform([&](ByteRange range) { return subject.substr(range.begin, range.size()); });
}

} // namespace tavrin
