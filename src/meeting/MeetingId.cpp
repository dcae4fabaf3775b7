#include "meeting/MeetingId.h"

#include <fmt/format.h>

#include <cstdint>
#include <random>

namespace tavrin {

std::string newMeetingID() {
    std::random_device random; // the system's own source
    const auto bits = [&] { return (static_cast<std::uint64_t>(random()) << 32U) | random(); };
    const std::uint64_t high = (bits() & ~0xF000ULL) | 0x4000ULL; // version 4
    const std::uint64_t low = (bits() & ~(0x3ULL << 62U)) | (0x2ULL << 62U);
    return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:012X}", high >> 32U, (high >> 16U) & 0xFFFFU, high & 0xFFFFU,
                       low >> 48U, low & 0xFFFF'FFFF'FFFFULL);
}

} // namespace tavrin
