#pragma once

#include <filesystem>

namespace tavrin {

class Report;

struct SpeedMaterial {
    std::filesystem::path pack;
    /// The graphs of the machine's limits.
    std::filesystem::path limits;
    /// Holds clean; its words are in `sentences`.
    std::filesystem::path speech, sentences;
};

/// Peak memory of two lanes, loading, encoder and decoder against the machine's limits, whole transcriptions, and the
/// allocations per token. To be called first in a process: the peak is its own. Throws what the engine throws.
void measureSpeed(const SpeedMaterial& material, Report& report);

} // namespace tavrin
