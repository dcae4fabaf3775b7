#include "meeting/EchoReference.h"

#include "meeting/PcmSamples.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace tavrin {

namespace {

constexpr std::size_t remembered = 3'000; // steps
constexpr std::int64_t earliest = -10, latest = 25;
constexpr std::size_t fewestSteps = 25;
/// Below the loudest step by this much, all is silence: rooms hiss.
constexpr float range = 30;       // dB
constexpr float silence = -60;    // dB of full scale
constexpr double leastSpread = 3; // dB, standard deviation

float levelOf(double sumOfSquares) {
    return static_cast<float>(10 * std::log10((sumOfSquares / EchoReference::step) + 1e-9));
}

std::vector<float> levelsOf(std::span<const float> samples) {
    std::vector<float> levels;
    for (std::size_t at = 0; at + EchoReference::step <= samples.size(); at += EchoReference::step) {
        double sum = 0;
        for (const float sample : samples.subspan(at, EchoReference::step))
            sum += static_cast<double>(sample) * sample;
        levels.push_back(levelOf(sum));
    }
    return levels;
}

std::vector<double> withoutFloor(std::span<const float> levels) {
    const float floor = std::max(silence, std::ranges::max(levels) - range);
    std::vector<double> result(levels.begin(), levels.end());
    for (double& level : result)
        level = std::max(level, static_cast<double>(floor));
    return result;
}

/// Takes the mean away; gives the standard deviation.
double center(std::vector<double>& values) {
    double sum = 0, squares = 0;
    for (const double value : values)
        sum += value;
    const double mean = sum / static_cast<double>(values.size());
    for (double& value : values) {
        value -= mean;
        squares += value * value;
    }
    return std::sqrt(squares / static_cast<double>(values.size()));
}

/// Pearson's.
double correlation(std::span<const float> a, std::span<const float> b) {
    std::vector<double> one = withoutFloor(a), other = withoutFloor(b);
    const double spread = center(one), otherSpread = center(other);
    if (spread < leastSpread || otherSpread < leastSpread) return 0;
    double sum = 0;
    for (std::size_t i = 0; i < one.size(); ++i)
        sum += one[i] * other[i];
    return sum / (spread * otherSpread * static_cast<double>(one.size()));
}

} // namespace

void EchoReference::append(std::span<const std::byte> pcm) {
    const std::vector<float> samples = samplesOfPcm(pcm);
    const std::scoped_lock lock(mutex);
    for (const float sample : samples) {
        sumOfStep += static_cast<double>(sample) * sample;
        if (++samplesOfStep < step) continue;
        levels.push_back(levelOf(sumOfStep));
        sumOfStep = 0;
        samplesOfStep = 0;
    }
    while (levels.size() > remembered) {
        levels.pop_front();
        ++firstLevel;
    }
}

double EchoReference::likeness(std::span<const float> samples, std::int64_t first) const {
    const std::vector<float> heard = levelsOf(samples);
    if (heard.size() < fewestSteps) return 0;
    double best = 0;
    const std::scoped_lock lock(mutex);
    for (std::int64_t delay = earliest; delay <= latest; ++delay) {
        const std::int64_t begin = (first / static_cast<std::int64_t>(step)) - delay - firstLevel;
        const auto end = begin + static_cast<std::int64_t>(heard.size());
        if (begin < 0 || end > static_cast<std::int64_t>(levels.size())) continue;
        const std::vector<float> said(levels.begin() + begin, levels.begin() + end);
        best = std::max(best, correlation(heard, said));
    }
    return best;
}

bool EchoReference::isEcho(const SpeechChunk& chunk, std::int64_t shift) const {
    const std::int64_t first = chunk.endSample - static_cast<std::int64_t>(chunk.samples.size());
    return likeness(chunk.samples, first + shift) >= sureLikeness;
}

} // namespace tavrin
