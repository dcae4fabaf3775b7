#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>

namespace tavrin {

/// The most that one call of the engine gets, in samples of 16 kHz: 25 s.
inline constexpr std::size_t transcriptionWindowSamples = 400'000;
/// What a window has in common with the one before it: 3 s.
inline constexpr std::size_t transcriptionOverlapSamples = 48'000;

/// Gives the text of one window; with or without white space at its ends.
using TranscribeWindow = std::function<std::string(std::span<const float>)>;

/// The text of audio of any length: one call for up to a window, else one for each of several windows that overlap,
/// their texts joined so that words heard twice stand once. A window without text adds nothing.
/// Calls in order, on the caller's thread, with views into `samples`. Throws what `transcribeWindow` throws.
std::string transcribeInWindows(std::span<const float> samples, const TranscribeWindow& transcribeWindow);

} // namespace tavrin
