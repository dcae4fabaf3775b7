#include "support/text/Uuid.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <random>

namespace tavrin {

std::string newUuid() {
    std::random_device random; // the system's own source
    const auto bits = [&] { return (static_cast<std::uint64_t>(random()) << 32U) | random(); };
    const std::uint64_t high = (bits() & ~0xF000ULL) | 0x4000ULL; // version 4
    const std::uint64_t low = (bits() & ~(0x3ULL << 62U)) | (0x2ULL << 62U);
    return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:012X}", high >> 32U, (high >> 16U) & 0xFFFFU, high & 0xFFFFU,
                       low >> 48U, low & 0xFFFF'FFFF'FFFFULL);
}

bool isUuid(std::string_view text) noexcept {
    constexpr std::string_view form = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    constexpr std::string_view digits = "0123456789abcdefABCDEF";
    if (text.size() != form.size()) return false;
    for (std::size_t i = 0; i < form.size(); ++i)
        if (form[i] == '-' ? text[i] != '-' : !digits.contains(text[i])) return false;
    return true;
}

} // namespace tavrin
