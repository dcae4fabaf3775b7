#include "meeting/EchoSuppressor.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace tavrin {

namespace {

constexpr auto step = static_cast<std::int64_t>(EchoReference::step);
constexpr auto hop = static_cast<std::int64_t>(EchoReference::hop);
constexpr std::int64_t earliest = -10 * step, latest = 25 * step;
/// A sure echo tells the delay of the next ones so well.
constexpr std::int64_t sameDelay = step;
/// It does so for five minutes: loudspeakers are moved, and headphones put on.
constexpr std::int64_t knownFor = step * 50 * 300;
/// What lies so far below the loudest step is a room's hiss, or a gap that the room fills.
constexpr float heardRange = 20, saidRange = 30, ownRange = 25; // dB
constexpr std::size_t mostOwnSteps = 5;                         // beside the other side's sound
constexpr double leastSpread = 1.5;                             // dB, standard deviation
/// Levels of speech that are closer than so many steps depend on one another.
constexpr double stepsOfOne = 5;
/// Rooms prefer some sounds: the loudest steps of an echo tell, unless they are somebody's who talked into it.
constexpr double loudestShare = 0.95;
constexpr float mostAboveMedian = 10, echoMargin = 6, noiseMargin = 10; // dB
/// An echo that should sound for so long, and is this much weaker in a third of it, is there no more.
constexpr std::size_t leastDue = 25; // steps
constexpr float missingBy = 12;      // dB
/// Own sound is longer than a rattle, has short stops in it, and begins and ends softly.
constexpr std::size_t shortestOwn = 6, longestStop = 3, softEdge = 2; // steps

float floorOf(std::span<const float> levels, float range) {
    return std::max(EchoReference::silence, std::ranges::max(levels) - range);
}

float quantile(std::vector<float> values, double share) {
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::ranges::nth_element(values, at);
    return *at;
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
    for (std::size_t i = 0; i < said.size(); ++i) {
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

struct Gain {
    float median;
    float most; ///< no step of the echo exceeds it
};

/// By how much what is heard is louder than what was said, where both can be heard.
Gain gainOf(std::span<const float> heard, std::span<const float> said) {
    const float heardFloor = floorOf(heard, heardRange), saidFloor = floorOf(said, saidRange);
    std::vector<float> differences;
    for (std::size_t i = 0; i < said.size(); ++i)
        if (heard[i] > heardFloor && said[i] > saidFloor) differences.push_back(heard[i] - said[i]);
    const float median = quantile(differences, 0.5);
    return {.median = median,
            .most = echoMargin + std::min(quantile(differences, loudestShare), median + mostAboveMedian)};
}

/// An echo sounds whenever the other side does, unless somebody put headphones on.
bool isMissing(std::span<const float> heard, std::span<const float> said, float gain) {
    const float floor = std::max(EchoReference::silence, quantile({heard.begin(), heard.end()}, 0.05) + noiseMargin);
    std::size_t due = 0, missing = 0;
    for (std::size_t i = 0; i < said.size(); ++i) {
        if (said[i] + gain <= floor) continue;
        ++due;
        if (heard[i] < said[i] + gain - missingBy) ++missing;
    }
    return due >= leastDue && 3 * missing > due;
}

/// Calls `take` with begin and end of each run of `value`.
void forRuns(std::vector<bool>& marks, bool value, const auto& take) {
    for (std::size_t begin = 0, end = 0; begin < marks.size(); begin = end) {
        end = begin + 1;
        while (end < marks.size() && marks[end] == marks[begin])
            ++end;
        if (marks[begin] == value) take(begin, end);
    }
}

void mark(std::vector<bool>& marks, std::size_t begin, std::size_t end, bool value) {
    std::fill(marks.begin() + static_cast<std::ptrdiff_t>(begin), marks.begin() + static_cast<std::ptrdiff_t>(end),
              value);
}

/// Where more sounds than an echo that is at most as loud as told.
std::vector<bool> ownSteps(std::span<const float> heard, std::span<const float> echo) {
    const float noise = quantile({heard.begin(), heard.end()}, 0.05);
    const float floor = std::max(floorOf(heard, ownRange), noise + noiseMargin);
    std::vector<bool> own(heard.size());
    for (std::size_t i = 0; i < heard.size(); ++i)
        own[i] = heard[i] > floor && heard[i] > echo[i];
    forRuns(own, false, [&](std::size_t begin, std::size_t end) {
        if (begin > 0 && end < own.size() && end - begin <= longestStop) mark(own, begin, end, true);
    });
    forRuns(own, true, [&](std::size_t begin, std::size_t end) {
        if (end - begin < shortestOwn) mark(own, begin, end, false);
    });
    return own;
}

std::vector<bool> withSoftEdges(const std::vector<bool>& own) {
    std::vector<bool> wider = own;
    for (std::size_t i = 0; i < own.size(); ++i)
        if (own[i]) mark(wider, i - std::min(i, softEdge), std::min(i + softEdge + 1, own.size()), true);
    return wider;
}

/// Fades over a step beside what stays.
void silenceStep(std::span<float> samples, bool staysBefore, bool staysBehind) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const float along = static_cast<float>(i) / static_cast<float>(samples.size());
        samples[i] *= std::max(staysBefore ? 1 - along : 0, staysBehind ? along : 0);
    }
}

} // namespace

EchoSuppressor::Match EchoSuppressor::bestMatch(std::span<const float> heard, std::int64_t first) const {
    Match best;
    for (std::int64_t delay = earliest; delay <= latest; delay += hop) {
        const std::vector<float> said = reference.levelsFrom(first - delay, heard.size());
        if (4 * said.size() < 3 * heard.size()) continue;
        const Correlation found = likenessOf(heard, said);
        if (known && std::abs(delay - known->delay) <= sameDelay && found.plain >= someLikeness)
            best.isLikeKnown = true;
        if (found.sure <= best.likeness) continue;
        best.likeness = found.sure;
        if (found.sure < sureLikeness) continue;
        const Gain gain = gainOf(heard, said);
        best.echo = {.delay = delay, .gain = gain.median, .mostGain = gain.most, .heardAt = first};
    }
    return best;
}

double EchoSuppressor::likeness(std::span<const float> samples, std::int64_t first) const {
    const std::vector<float> heard = levelsOf(samples);
    if (heard.empty()) return 0;
    const Match match = bestMatch(heard, first);
    return match.isLikeKnown ? std::max(match.likeness, someLikeness) : match.likeness;
}

/// Of each step. Nothing where the other side's sound did not come yet.
std::vector<float> EchoSuppressor::loudestEcho(std::int64_t first, std::size_t steps) const {
    std::vector<float> loudest(steps, 2 * EchoReference::silence);
    for (std::int64_t delay = known->delay - sameDelay; delay <= known->delay + sameDelay; delay += hop) {
        const std::vector<float> said = reference.levelsFrom(first - delay, steps);
        for (std::size_t i = 0; i < said.size(); ++i)
            loudest[i] = std::max(loudest[i], said[i] + known->mostGain);
    }
    return loudest;
}

EchoSuppressor::Outcome EchoSuppressor::silenceEcho(std::span<float> samples, std::int64_t first) {
    const std::vector<float> heard = levelsOf(samples);
    if (heard.empty()) return {};
    if (auto match = bestMatch(heard, first); match.echo)
        known = match.echo;
    else if (known && isMissing(heard, reference.levelsFrom(first - known->delay, heard.size()), known->gain))
        known.reset();
    if (!known || first - known->heardAt > knownFor) return {};
    const std::vector<float> echo = loudestEcho(first, heard.size());
    const std::vector<bool> own = ownSteps(heard, echo), stays = withSoftEdges(own);
    Outcome outcome{.own = static_cast<std::size_t>(std::ranges::count(own, true))};
    for (std::size_t i = 0; i < heard.size(); ++i) {
        if (stays[i] || echo[i] <= EchoReference::silence) continue;
        silenceStep(samples.subspan(i * EchoReference::step, EchoReference::step), i > 0 && stays[i - 1],
                    i + 1 < stays.size() && stays[i + 1]);
        ++outcome.silenced;
    }
    return outcome;
}

double EchoSuppressor::likeness(const SpeechChunk& chunk, std::int64_t shift) const {
    return likeness(chunk.samples, chunk.endSample - static_cast<std::int64_t>(chunk.samples.size()) + shift);
}

EchoSuppressor::Outcome EchoSuppressor::silenceEcho(SpeechChunk& chunk, std::int64_t shift) {
    return silenceEcho(chunk.samples, chunk.endSample - static_cast<std::int64_t>(chunk.samples.size()) + shift);
}

} // namespace tavrin
