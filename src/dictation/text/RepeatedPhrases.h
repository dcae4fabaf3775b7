#pragma once

#include <string>
#include <string_view>

/// Takes out what is said twice back to back, word by word. Pure functions, any thread.
namespace tavrin {

/// The text with each run of 2 to 64 words that is followed by the same run, case aside, said once; longest runs first,
/// then leftmost, until there is none. The first of two runs stays. Words are joined by single blanks; a text of fewer
/// than four words comes back as it is. Costs time in proportion to the words, some ten thousand steps a run taken out.
std::string collapseAdjacentPhrases(std::string_view text);

/// The text without words that equal the one before them, case aside, joined by single blanks. Punctuation counts:
/// "the the," stays. A text of one word comes back as it is.
std::string dropAdjacentDuplicateWords(std::string_view text);

} // namespace tavrin
