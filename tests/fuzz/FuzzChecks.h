#pragma once

#include "support/text/Unicode.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

/// What the fuzzers of text check. A check that fails ends the program, which saves the input.
namespace tavrin::fuzz {

inline void check(bool holds) {
    if (!holds) __builtin_trap();
}

/// True if each word of `kept` is, or stands in, one of `given`, in the order of `given`.
inline bool isPicked(std::string_view kept, std::string_view given) {
    const std::vector<std::string_view> all = words(given);
    auto next = all.begin();
    for (const std::string_view word : words(kept)) {
        next = std::find_if(next, all.end(), [&](std::string_view said) { return said.contains(word); });
        if (next == all.end()) return false;
        ++next;
    }
    return true;
}

} // namespace tavrin::fuzz
