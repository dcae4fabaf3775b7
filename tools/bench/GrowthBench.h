#pragma once

#include <filesystem>

namespace tavrin {

class Report;

struct GrowthMaterial {
    std::filesystem::path pack;
    /// Holds clean; its words are in `sentences`.
    std::filesystem::path speech, sentences;
    /// Also three hours, for memory only.
    bool isLong = false;
};

/// Time and memory against the length of the audio, streamed, one worker on one processor, so that only the length
/// changes. Throws what reading and the engine throw.
void measureGrowth(const GrowthMaterial& material, Report& report);

} // namespace tavrin
