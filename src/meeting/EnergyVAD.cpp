#include "meeting/EnergyVAD.h"

#include <algorithm>
#include <cmath>

namespace tavrin {

float rootMeanSquare(std::span<const float> samples) {
    if (samples.empty()) return 0;
    float sum = 0;
    for (const float sample : samples)
        sum += sample * sample;
    return std::sqrt(sum / static_cast<float>(samples.size()));
}

std::vector<bool> EnergyVAD::speechFrames(std::span<const float> samples) const {
    std::vector<bool> flags;
    for (std::size_t begin = 0; begin < samples.size(); begin += frameLength) {
        const std::size_t length = std::min(frameLength + frameOverlap, samples.size() - begin);
        flags.push_back(rootMeanSquare(samples.subspan(begin, length)) > threshold);
    }
    return flags;
}

std::size_t EnergyVAD::findSplit(std::span<const float> samples, std::size_t limit) const {
    const std::size_t span = std::min(limit, samples.size());
    const std::size_t half = span / 2;
    const std::vector<bool> flags = speechFrames(samples.subspan(half, span - half));
    std::size_t bestBegin = 0;
    std::size_t bestEnd = 0;
    for (std::size_t begin = 0; begin < flags.size(); ++begin) {
        std::size_t end = begin;
        while (end < flags.size() && !flags[end])
            ++end;
        if (end - begin > bestEnd - bestBegin) {
            bestBegin = begin;
            bestEnd = end;
        }
        begin = end;
    }
    if (bestBegin == bestEnd) return span;
    return half + ((bestBegin + ((bestEnd - bestBegin) / 2)) * frameLength);
}

} // namespace tavrin
