#pragma once

#include <string>
#include <string_view>

/// Takes a speaker by the last word. Pure functions, any thread.
namespace tavrin {

/// What follows the speaker's correction ("no wait", "scratch that", ...), without white space and punctuation at both
/// ends; the text itself if there is no correction or at most two characters follow it. Of several cues the last in
/// order of the table counts, and of it the last occurrence; cues are found within words as well.
std::string applySelfCorrection(std::string_view text);

/// The text without the "um", "uh", "er", "erm", "hmm" and "like" at its beginning, if a blank and something follow.
std::string dropLeadingFillers(std::string_view text);

} // namespace tavrin
