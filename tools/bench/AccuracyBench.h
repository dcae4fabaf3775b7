#pragma once

#include <filesystem>

namespace tavrin {

class Report;

/// What is compared, and with which speech.
struct AccuracyMaterial {
    std::filesystem::path pack, fullPrecision;
    /// Holds human, clean and pink15.
    std::filesystem::path speech;
    /// The words of clean and pink15, a line each.
    std::filesystem::path sentences;
};

/// Word error rates of the shipped model against full precision and of the short context against the full one.
/// Throws what reading and the engine throw.
void measureAccuracy(const AccuracyMaterial& material, Report& report);

} // namespace tavrin
