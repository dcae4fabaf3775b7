#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>

namespace tavrin {

// Small questions about words. Pure; any thread.

inline bool isOneOf(std::string_view text, std::span<const std::string_view> list) {
    return std::ranges::find(list, text) != list.end();
}

/// `whole` is not 0.
inline double share(std::size_t part, std::size_t whole) {
    return static_cast<double>(part) / static_cast<double>(whole);
}

} // namespace tavrin
