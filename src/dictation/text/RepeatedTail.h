#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Takes out an end that says once more, not always word by word, what was said before. Pure functions, any thread.
namespace tavrin {

/// The text without such ends, words joined by single blanks, and without the fragment that the model glues on where it
/// breaks off (trimFusedFragment()). A text of fewer than 16 words comes back as it is, and one that repeats nothing
/// keeps all its words.
///
/// An end is taken out if it has at least 8 words and at most half of all, and stands before in a row, if need be
/// without its first word; or if a stretch before it has matching words in enough of the same places. The longest such
/// end goes first, then the rest is looked at again while it has 16 words.
/// Costs at most the square of the number of words for each end taken out; some 20 ms for 1,000 words in the worst
/// case.
std::string dropRepeatedTail(std::string_view text);

/// If the last word, of five letters or more, ends with one to three letters that may be the beginning or end of a
/// small word ("the", "and", "of", ...), cuts them off. Only sensible where the model is known to have broken off: it
/// takes the "ing" off "meeting" as well.
void trimFusedFragment(std::vector<std::string_view>& words);

} // namespace tavrin
