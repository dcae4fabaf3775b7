#include "meeting/EchoReference.h"

#include "meeting/PcmSamples.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tavrin {

namespace {

constexpr std::size_t remembered = 12'000; // hops: a minute
constexpr std::size_t hopsOfStep = EchoReference::step / EchoReference::hop;
constexpr float decay = 4; // dB a step

float levelOf(double sumOfSquares) {
    return static_cast<float>(10 * std::log10((sumOfSquares / EchoReference::step) + 1e-9));
}

} // namespace

std::vector<float> levelsOf(std::span<const float> samples) {
    std::vector<float> levels;
    levels.reserve(samples.size() / EchoReference::step);
    for (std::size_t at = 0; at + EchoReference::step <= samples.size(); at += EchoReference::step) {
        double sum = 0;
        for (const float sample : samples.subspan(at, EchoReference::step))
            sum += static_cast<double>(sample) * sample;
        levels.push_back(levelOf(sum));
    }
    return levels;
}

void EchoReference::append(std::span<const std::byte> pcm) {
    const std::vector<float> samples = samplesOfPcm(pcm);
    const std::scoped_lock lock(mutex);
    for (const float sample : samples) {
        double& sum = sumsOfSquares.at(static_cast<std::size_t>(samplesSoFar) / hop % hopsOfStep);
        if (samplesSoFar % hop == 0) sum = 0;
        sum += static_cast<double>(sample) * sample;
        ++samplesSoFar;
        if (samplesSoFar % hop != 0 || samplesSoFar < static_cast<std::int64_t>(step)) continue;
        const float level = levelOf(std::accumulate(sumsOfSquares.begin(), sumsOfSquares.end(), 0.0));
        const float before = levels.empty() ? silence : levels.back();
        levels.push_back(std::max(level, before - (decay / hopsOfStep)));
    }
    while (levels.size() > remembered) {
        levels.pop_front();
        ++firstLevel;
    }
}

std::vector<float> EchoReference::levelsFrom(std::int64_t first, std::size_t count) const {
    constexpr auto hopLength = static_cast<std::int64_t>(hop), stepLength = static_cast<std::int64_t>(hopsOfStep);
    std::vector<float> found;
    const std::scoped_lock lock(mutex);
    std::int64_t at = ((first + (hopLength / 2)) / hopLength) - firstLevel;
    if (at < 0 && firstLevel > 0) return found;
    found.reserve(count);
    for (; found.size() < count && at < static_cast<std::int64_t>(levels.size()); at += stepLength)
        found.push_back(at < 0 ? silence : levels[static_cast<std::size_t>(at)]);
    return found;
}

} // namespace tavrin
