#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tavrin {

/// Signed 16-bit little-endian samples, as capture gives them, on the scale from -1 to 1 that the speech engine takes.
/// A trailing odd byte is left out. Pure; any thread.
inline std::vector<float> samplesOfPcm(std::span<const std::byte> pcm) {
    std::vector<float> samples(pcm.size() / 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto low = std::to_integer<std::uint16_t>(pcm[2 * i]);
        const auto high = std::to_integer<std::uint16_t>(pcm[2 * i + 1]);
        const auto sample = static_cast<std::int16_t>(low | (high << 8U));
        samples[i] = static_cast<float>(sample) / 32'768.0F;
    }
    return samples;
}

} // namespace tavrin
