#pragma once

#include <filesystem>

namespace tavrin {

class Report;

struct EchoMaterial {
    std::filesystem::path pack;
    /// Holds human and clean.
    std::filesystem::path speech;
    /// The words of clean, a line each.
    std::filesystem::path sentences;
};

/// A meeting of two people whose microphone hears the loudspeaker: what of the other side's words comes back as Me, and
/// what of the user's own gets lost, at several strengths of the leak. Throws what reading and the engine throw.
void measureEcho(const EchoMaterial& material, Report& report);

} // namespace tavrin
