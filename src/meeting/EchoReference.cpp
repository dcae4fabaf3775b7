#include "meeting/EchoReference.h"

#include "meeting/PcmSamples.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace tavrin {

namespace {

constexpr std::size_t remembered = 3'000; // steps
constexpr std::int64_t earliest = -10, latest = 25;
/// What lies so far below the loudest step is a room's hiss, or a gap that the room fills.
constexpr float heardRange = 20, saidRange = 30; // dB
constexpr float silence = -60;                   // dB of full scale
/// Even a dry room lets a sound die away no faster: what it fills is no sound of one's own.
constexpr float decay = 4;              // dB a step
constexpr std::size_t mostOwnSteps = 5; // beside the other side's sound
constexpr double leastSpread = 1.5;     // dB, standard deviation
/// Levels of speech that are closer than so many steps depend on one another.
constexpr double stepsOfOne = 5;

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

float floorOf(std::span<const float> levels, float range) {
    return std::max(silence, std::ranges::max(levels) - range);
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

struct Correlation {
    double plain = 0; // Pearson's
    double sure = 0;  // less one standard error after Fisher (1915): a few steps are alike by chance
};

/// Of steps that are too few or too even to tell nothing is sure, and nothing speaks against it.
Correlation correlationOf(std::vector<double>& one, std::vector<double>& other) {
    if (one.empty()) return {};
    const double independent = (static_cast<double>(one.size()) / stepsOfOne) - 3;
    const double spread = center(one), otherSpread = center(other);
    if (independent <= 0 || spread < leastSpread || otherSpread < leastSpread) return {.plain = 1, .sure = 0};
    double sum = 0;
    for (std::size_t i = 0; i < one.size(); ++i)
        sum += one[i] * other[i];
    const double correlation = sum / (spread * otherSpread * static_cast<double>(one.size()));
    return {.plain = correlation,
            .sure = std::tanh(std::atanh(std::min(correlation, 0.9999)) - (1 / std::sqrt(independent)))};
}

/// Over the steps where both can be heard: that both fall silent at about one time says nothing.
Correlation likenessOf(std::span<const float> heard, std::span<const float> said) {
    const float heardFloor = floorOf(heard, heardRange), saidFloor = floorOf(said, saidRange);
    std::vector<double> one, other;
    std::size_t ownSteps = 0;
    for (std::size_t i = 0; i < heard.size(); ++i) {
        if (heard[i] <= heardFloor) continue;
        if (said[i] > saidFloor) {
            one.push_back(heard[i]);
            other.push_back(said[i]);
        } else if (++ownSteps > mostOwnSteps) {
            return {};
        }
    }
    return correlationOf(one, other);
}

} // namespace

void EchoReference::append(std::span<const std::byte> pcm) {
    const std::vector<float> samples = samplesOfPcm(pcm);
    const std::scoped_lock lock(mutex);
    for (const float sample : samples) {
        sumOfStep += static_cast<double>(sample) * sample;
        if (++samplesOfStep < step) continue;
        const float before = levels.empty() ? silence : levels.back();
        levels.push_back(std::max(levelOf(sumOfStep), before - decay));
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
    if (heard.empty()) return 0;
    double best = 0;
    std::int64_t bestDelay = 0;
    bool isLikeKnown = false;
    const std::scoped_lock lock(mutex);
    for (std::int64_t delay = earliest; delay <= latest; ++delay) {
        const std::int64_t begin = (first / static_cast<std::int64_t>(step)) - delay - firstLevel;
        const auto end = begin + static_cast<std::int64_t>(heard.size());
        if (begin < 0 || end > static_cast<std::int64_t>(levels.size())) continue;
        const std::vector<float> said(levels.begin() + begin, levels.begin() + end);
        const Correlation found = likenessOf(heard, said);
        const bool isKnown = knownDelay && std::abs(delay - *knownDelay) <= 1;
        if (isKnown && found.plain >= someLikeness) isLikeKnown = true;
        if (found.sure <= best) continue;
        best = found.sure;
        bestDelay = delay;
    }
    if (best >= sureLikeness) knownDelay = bestDelay;
    return isLikeKnown ? std::max(best, someLikeness) : best;
}

double EchoReference::likeness(const SpeechChunk& chunk, std::int64_t shift) const {
    return likeness(chunk.samples, chunk.endSample - static_cast<std::int64_t>(chunk.samples.size()) + shift);
}

} // namespace tavrin
