#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Joins two transcripts of neighbouring stretches of speech whose audio overlaps, so that the words heard twice stand
/// once. Pure functions, any thread. Words, characters and white space are those of support/text/Unicode.h.
namespace tavrin {

/// The form in which words are compared: lower-case, without punctuation at both ends; "ve" and "i've" become "ive",
/// "dont" becomes "don't". Empty for a word of punctuation alone.
std::string normalizedWord(std::string_view word);

/// What is left of `right` when the words are taken off with which `left` already ends, white space trimmed.
///
/// The overlap is the longest run of words that ends `left` and begins `right`, equal by their normal forms and, in
/// `left`, lying wholly within its last `maximumCharacters` characters (white space behind the last word not counted).
/// Words of punctuation alone have to match as well but do not count: a run needs two words that count, or one whose
/// normal form has at least four characters.
std::string_view withoutOverlap(std::string_view left, std::string_view right, std::size_t maximumCharacters = 48);

/// `left`, one blank, and what withoutOverlap() leaves of `right`, both trimmed of white space. Where one of the two is
/// empty the result is the other, with no blank.
std::string mergeOverlap(std::string_view left, std::string_view right, std::size_t maximumCharacters = 48);

} // namespace tavrin
