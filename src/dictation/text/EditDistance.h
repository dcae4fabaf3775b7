#pragma once

#include <cstddef>
#include <string_view>

/// How many letters have to change, be added or go. Pure functions, any thread; they cost the product of the lengths.
namespace tavrin {

/// To make one text of the other (Levenshtein, 1966).
std::size_t editDistance(std::u32string_view a, std::u32string_view b);

/// To make the first a piece of the second, wherever that begins and ends (Sellers, 1980).
std::size_t distanceToPiece(std::u32string_view piece, std::u32string_view whole);

} // namespace tavrin
