#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace tavrin {

/// Root of the mean square, 0 for no samples. Pure.
float rootMeanSquare(std::span<const float> samples);

/// Tells loud stretches from quiet ones, for finding a place to cut. Immutable; any thread.
class EnergyVAD final {
public:
    /// A stretch is speech when its root mean square is above `energyThreshold`.
    explicit EnergyVAD(float energyThreshold) : threshold(energyThreshold) {}

    static constexpr std::size_t frameLength = 1'600; // samples of 16 kHz, 0.1 s
    static constexpr std::size_t frameOverlap = 400;

    /// One flag a frame: frame k covers frameLength + frameOverlap samples from k * frameLength on, or what is left.
    [[nodiscard]] std::vector<bool> speechFrames(std::span<const float> samples) const;

    /// The middle of the longest quiet run in the second half of the first `limit` samples; the end of the span where
    /// nothing is quiet.
    [[nodiscard]] std::size_t findSplit(std::span<const float> samples, std::size_t limit) const;

private:
    float threshold;
};

} // namespace tavrin
