#pragma once

#include "support/time/Time.h"

#include <chrono>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <span>
#include <vector>

namespace tavrin {

/// Sound of 48 kHz that the gates take for speech: two seconds of a loud tone, then a second of silence, for ever.
class ScriptedTalk final {
public:
    static constexpr Duration piece = std::chrono::milliseconds(40);
    static constexpr std::size_t pieceFrames = 1'920;

    ScriptedTalk() {
        constexpr double loudness = 0.3;
        for (std::size_t i = 0; i < pieceFrames; ++i) {
            const auto sample = float(loudness * std::sin(2 * std::numbers::pi * 8 * double(i) / double(pieceFrames)));
            tone.push_back(sample);
            wideTone.insert(wideTone.end(), 2, sample);
        }
    }

    /// The piece that begins `at` so long after the beginning. Valid as long as this.
    [[nodiscard]] std::span<const float> mono(Duration at) const { return talks(at) ? tone : silence; }
    [[nodiscard]] std::span<const float> stereo(Duration at) const { return talks(at) ? wideTone : wideSilence; }

private:
    static bool talks(Duration at) { return at % std::chrono::seconds(3) < std::chrono::seconds(2); }

    std::vector<float> tone, wideTone;
    std::vector<float> silence = std::vector<float>(pieceFrames);
    std::vector<float> wideSilence = std::vector<float>(2 * pieceFrames);
};

} // namespace tavrin
