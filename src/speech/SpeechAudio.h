#pragma once

#include <cstddef>

namespace tavrin {

/// The one sample rate of the engine, in samples a second.
constexpr std::size_t speechSampleRate = 16'000;
/// A window of the encoder: 30 s.
constexpr std::size_t speechWindowSamples = 30 * speechSampleRate;
/// One feature frame lasts 10 ms, one encoder position (and one step of a time token) 20 ms.
constexpr std::size_t samplesPerFrame = 160;
constexpr std::size_t samplesPerPosition = 2 * samplesPerFrame;
constexpr float secondsPerPosition = 0.02F;

} // namespace tavrin
