#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Sets the opening line of a letter apart. Pure functions, any thread; time in proportion to the text. Blanks are
/// U+0020, line ends U+000A.
namespace tavrin {

/// The text with a comma and an empty line behind each greeting and name ("Hi John", "Dear Ms Smith") that begins the
/// text or a sentence, and behind "to" and a name at the very beginning, if text follows on the same line.
std::string insertSalutationBreaks(std::string_view text);

/// The name that begins at `position`, after blanks: one or two words with their punctuation, the second only if it
/// does not begin a sentence ("thanks", "I"). `position` moves behind the last word taken. None at the end of a line.
std::vector<std::string_view> readNameWords(std::string_view text, std::size_t& position);

} // namespace tavrin
