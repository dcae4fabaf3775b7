#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Tells the user's own words from those of the other side that the microphone heard from the loudspeaker.
///
/// `candidate` is a line of the microphone, `reference` what the other side said at about that time. Pure functions,
/// any thread. Words are compared in lower case, without punctuation at both ends; words of punctuation alone do not
/// count. Costs the words of the candidate times those of the reference; of a reference only the last 2,000 words are
/// looked at.
namespace tavrin {

/// True if the candidate, of four words or more, stands in the reference, shares seven in ten of its longer words with
/// it, or has more than half of its words there in the same order.
bool isLikelyEcho(std::string_view candidate, std::string_view reference);

/// The candidate without the stretches of three words or more that were heard from the other side, words that were only
/// recognised a little differently among them. Words are left out, never put in or moved; what stays is joined by
/// single blanks. A candidate of which less than half would go comes back as it is. Absent if nothing worth keeping
/// stays. Sensible only where isLikelyEcho() holds.
std::optional<std::string> stripEchoedWords(std::string_view candidate, std::string_view reference);

/// True if the candidate was said in the reference, perhaps recognised differently: under eight letters its words stand
/// there in a row; otherwise, blanks apart, fewer than a quarter of its letters have to change, be added or go to make
/// it a piece of the reference (approximate matching after Sellers, 1980). Much looser than isLikelyEcho(): for a
/// reference that was said at the very time of the candidate.
bool isHeardIn(std::string_view candidate, std::string_view reference);

} // namespace tavrin
