#pragma once

#include <string>
#include <string_view>

namespace tavrin {

/// A fresh random UUID in upper case: "8C2A...-....-4...-....-............". Any thread.
std::string newUuid();

/// Whether the text is a UUID in its usual form with hyphens, in either case.
bool isUuid(std::string_view text) noexcept;

} // namespace tavrin
