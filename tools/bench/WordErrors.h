#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

/// The words of `text` in the one spelling that is compared, so that only what was heard counts and not how it is
/// written:
/// - lower case; apostrophes vanish ("don't" is "dont"), all other punctuation parts words, hyphens too;
/// - "&" and "%" are words; "Mr." is "mister", and so on; British spellings are American;
/// - whole numbers below a million are spoken: "1,205" is "one thousand two hundred five", "3rd" is "third". Years and
///   fractions are not known.
[[nodiscard]] std::vector<std::string> comparableWords(std::string_view text);

/// Words said, and the least number of words put in, left out and replaced that turn them into the words heard.
struct WordErrors {
    std::size_t words = 0;
    std::size_t errors = 0;

    [[nodiscard]] double percent() const noexcept;
    WordErrors& operator+=(const WordErrors& other) noexcept;
};

[[nodiscard]] WordErrors wordErrors(std::string_view said, std::string_view heard);

/// Whether fewer letters of `heard` have to change, be added or go to make it a piece of `other` than to make it one of
/// `own` (approximate matching after Sellers, 1980), at most half of them: it tells whose words they are, though some
/// were misheard.
[[nodiscard]] bool isSaidBy(std::string_view other, std::string_view own, std::string_view heard);

/// Words of `said` that are missing in `heard`, in order (longest common subsequence).
[[nodiscard]] std::size_t lostWords(std::string_view said, std::string_view heard);

} // namespace tavrin
