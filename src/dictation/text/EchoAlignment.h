#pragma once

#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// For each word of `heard`, true if it belongs to a stretch that `said` has as well: at least three words that are the
/// same in the same order, with few others between them; two words that only sound alike count as one. A word between
/// them belongs to the stretch if it stands where `said` has another one; a word for which `said` has no place stays
/// outside.
///
/// Words are in the form in which they are compared. Pure; any thread. Time and memory grow with the product of both.
std::vector<bool> echoedWords(std::span<const std::string> heard, std::span<const std::string> said);

} // namespace tavrin
