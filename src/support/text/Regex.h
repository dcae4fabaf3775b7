#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

/// Bytes `begin` up to but not including `end` of a UTF-8 text.
struct ByteRange {
    std::size_t begin = 0;
    std::size_t end = 0;

    std::size_t size() const { return end - begin; }
    bool operator==(const ByteRange&) const = default;
};

class RegexMatch;

/// A regular expression over UTF-8 text, in ICU's dialect: look-behind, named groups, "\b", inline "(?i)" and "(?m)".
///
/// Compiled once, immutable, cheap to copy (copies share the compiled form).
/// Threads: all operations may run on several threads at once.
/// Text:    ill-formed UTF-8 is matched as U+FFFD; ranges are always bytes of the given text.
/// Errors:  a pattern that does not compile throws std::invalid_argument. A search that backtracks beyond all measure
///          (some tenths of a second, 8 MB) ends as if nothing more matched, and a warning names the pattern.
class Regex final {
public:
    enum class Case { sensitive, insensitive };

    explicit Regex(std::string_view pattern, Case letterCase = Case::sensitive);
    ~Regex();
    Regex(const Regex&);
    Regex(Regex&&) noexcept;
    Regex& operator=(const Regex&);
    Regex& operator=(Regex&&) noexcept;

    /// True if any part of the text matches.
    bool isFoundIn(std::string_view text) const;

    /// The first match that begins at byte `from` or later; look-behind and "^" still see what stands before it.
    std::optional<RegexMatch> first(std::string_view text, std::size_t from = 0) const;
    /// All matches from left to right, none overlapping another.
    std::vector<RegexMatch> all(std::string_view text) const;

    /// The text with each match replaced by what `replacement` gives for it.
    std::string replaced(std::string_view text, const std::function<std::string(const RegexMatch&)>& replacement) const;
    /// The text with each match replaced by these very bytes: "$" and "\" have no meaning.
    std::string replaced(std::string_view text, std::string_view replacement) const;

    /// A pattern that matches `literal` and nothing else (case apart).
    static std::string escaped(std::string_view literal);

private:
    friend class RegexMatch;
    class Compiled;
    class Search;

    std::shared_ptr<const Compiled> compiled;
};

/// One match: its range and its groups. Group 0 is the whole. Views live as long as the searched text.
class RegexMatch final {
public:
    ByteRange range() const { return whole; }
    std::string_view text() const { return subject.substr(whole.begin, whole.size()); }

    /// Absent if the group took no part in the match or does not exist.
    std::optional<std::string_view> group(std::size_t number) const;

private:
    friend class Regex::Search;
    RegexMatch(std::string_view text, std::vector<std::optional<ByteRange>> ranges);

    std::string_view subject;
    ByteRange whole;
    std::vector<std::optional<ByteRange>> groups; // the whole is number 0
};

} // namespace tavrin
