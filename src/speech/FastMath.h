#pragma once

#include <span>

namespace tavrin {

/// The largest value; minus infinity of nothing. A value that is no number is passed over.
float maximum(std::span<const float> values) noexcept;

/// The index of the first largest value; 0 of nothing.
std::size_t indexOfMaximum(std::span<const float> values) noexcept;

/// The sum of exp(value - shift) for values at most `shift`, to a relative 1e-5. Minus infinity counts nothing.
float sumOfExp(std::span<const float> values, float shift) noexcept;

} // namespace tavrin
