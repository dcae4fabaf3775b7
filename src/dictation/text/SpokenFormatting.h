#pragma once

#include <string>
#include <string_view>

/// Turns spoken layout commands into layout. Pure functions, any thread. Blanks are U+0020, line ends U+000A.
namespace tavrin {

/// The text with paragraphs ("new paragraph"), bullets ("bullet point"), numbered lines ("number one ... item two ...",
/// "first ... second ...") and the opening line of a letter ("Hi John ...") set apart, white space trimmed at both
/// ends. Other line ends become U+000A and ill-formed UTF-8 U+FFFD. No other punctuation is put in and no case is
/// changed.
std::string applySpokenFormatting(std::string_view text);

/// Two or more ordinals up to "tenth", one of them rising over the one before, each begin a numbered line.
std::string convertOrdinals(std::string_view text);

/// Puts a blank behind each bullet and list number, takes blanks off both ends of lines and all but one within, and
/// leaves at most one empty line between two others.
std::string normalizeLayout(std::string_view text);

} // namespace tavrin
