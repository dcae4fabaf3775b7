#pragma once

#include <cstddef>
#include <cstdint>

/// The one form of sound in the whole program: signed 16-bit little-endian samples, 16,000 a second, one channel.
namespace tavrin {

inline constexpr std::int64_t pcmSampleRate = 16'000;
inline constexpr std::size_t pcmBytesPerSample = 2;

/// Capture delivers chunks of 100 to 250 ms.
inline constexpr std::size_t minChunkBytes = 3'200;
inline constexpr std::size_t maxChunkBytes = 8'000;

} // namespace tavrin
