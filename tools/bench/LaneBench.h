#pragma once

#include <filesystem>

namespace tavrin {

class Report;

struct LaneMaterial {
    std::filesystem::path pack;
    /// Holds human and clean.
    std::filesystem::path speech;
    /// The words of clean, a line each.
    std::filesystem::path sentences;
};

/// Word error rates of a live lane, which hears speech in chunks of three seconds, against those of the same speech as
/// a file. Throws what reading and the engine throw.
void measureLane(const LaneMaterial& material, Report& report);

} // namespace tavrin
