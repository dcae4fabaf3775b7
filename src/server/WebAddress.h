#pragma once

#include <string_view>

namespace tavrin {

/// Whether the text is an absolute address of the schemes http or https with a host, free of blanks, control
/// characters and what must stand encoded in an address. Any thread.
bool isWebAddress(std::string_view text) noexcept;

/// Whether it begins with the scheme http or https and "://": then it is meant as an address, well-formed or not.
bool hasWebScheme(std::string_view text) noexcept;

/// Whether it is one that ends with its host or port.
bool isWebOrigin(std::string_view text) noexcept;

} // namespace tavrin
