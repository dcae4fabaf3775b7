#include "demo/Lanes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <stdexcept>

namespace tavrin {

namespace {

constexpr std::size_t step = 160; // 10 ms
constexpr std::size_t around = 3; // steps
constexpr float loud = -35;       // dB of full scale
constexpr float lostBelow = 20;   // dB
constexpr float floorLevel = -90;

std::vector<float> levels(std::span<const std::int16_t> samples) {
    std::vector<float> result(samples.size() / step);
    for (std::size_t i = 0; i < result.size(); ++i) {
        double sum = 0;
        for (const std::int16_t sample : samples.subspan(i * step, step))
            sum += static_cast<double>(sample) * sample;
        const double mean = std::sqrt(sum / step) / 32'768;
        result[i] = std::max(floorLevel, static_cast<float>(20 * std::log10(mean + 1e-9)));
    }
    return result;
}

/// Where the played levels differ least from the recorded ones.
std::size_t bestOffset(std::span<const float> played, std::span<const float> recorded) {
    std::size_t best = 0;
    double least = std::numeric_limits<double>::max();
    for (std::size_t offset = 0; offset + played.size() <= recorded.size(); ++offset) {
        double difference = 0;
        for (std::size_t i = 0; i < played.size() && difference < least; ++i)
            difference += std::abs(played[i] - recorded[offset + i]);
        if (difference < least) {
            least = difference;
            best = offset;
        }
    }
    return best;
}

} // namespace

std::vector<std::int16_t> readSamples(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw std::runtime_error("cannot read " + file.string());
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    std::vector<std::int16_t> samples(bytes.size() / 2);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int16_t>(static_cast<unsigned char>(bytes[2 * i]) |
                                               (static_cast<unsigned char>(bytes[(2 * i) + 1]) << 8U));
    return samples;
}

LaneComparison compareLane(std::span<const std::int16_t> played, std::span<const std::int16_t> recorded) {
    if (recorded.size() < played.size()) throw std::runtime_error("the recording is shorter than what was played");
    const std::vector<float> from = levels(played);
    const std::vector<float> to = levels(recorded);
    const std::size_t offset = bestOffset(from, to);
    LaneComparison comparison{.offset = offset * step};
    for (std::size_t i = 0; i < from.size(); ++i) {
        if (from[i] < loud) continue;
        comparison.playedLoud += step;
        const std::size_t begin = offset + i - std::min(offset + i, around);
        const std::size_t end = std::min(to.size(), offset + i + around + 1);
        const float heard = *std::max_element(to.begin() + static_cast<std::ptrdiff_t>(begin),
                                              to.begin() + static_cast<std::ptrdiff_t>(end));
        if (heard < from[i] - lostBelow) comparison.lost += step;
    }
    return comparison;
}

std::vector<std::size_t> findClicks(std::span<const std::int16_t> samples) {
    constexpr int threshold = 3'277;
    constexpr std::size_t pause = 16'000;
    std::vector<std::size_t> clicks;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (std::abs(static_cast<int>(samples[i])) < threshold) continue;
        if (clicks.empty() || i - clicks.back() > pause) clicks.push_back(i);
    }
    return clicks;
}

} // namespace tavrin
