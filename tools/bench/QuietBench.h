#pragma once

#include <filesystem>

namespace tavrin {

class Report;

struct QuietMaterial {
    std::filesystem::path pack;
    /// Sounds without speech, 16 kHz, each at three levels one after the other.
    std::filesystem::path noise;
};

/// Five minutes of each sound through both live lanes, from samples to lines: none may come. Counts the words that
/// the engine makes of them with nothing in its way, and at which of the three doors they end: voice activity, the
/// engine's test for silence, the clean-up. Throws what reading and the engine throw.
void measureQuiet(const QuietMaterial& material, Report& report);

} // namespace tavrin
