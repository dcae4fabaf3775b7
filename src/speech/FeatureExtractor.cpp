#include "speech/FeatureExtractor.h"

#include "speech/SpeechAudio.h"

#include <kiss_fftr.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <stdexcept>

namespace tavrin {

namespace {

constexpr std::size_t fftSize = 400;
constexpr std::size_t spectrumSize = fftSize / 2 + 1;
constexpr std::size_t reach = fftSize / 2;
constexpr float loudestSample = 1'000.0F;
constexpr float quietestPower = 1e-10F;
constexpr float dynamicRange = 8.0F;

/// Slaney's mel scale: linear below 1 kHz, logarithmic above.
double melOf(double hertz) {
    constexpr double linearStep = 200.0 / 3.0;
    const double logStep = std::log(6.4) / 27.0;
    return hertz < 1000.0 ? hertz / linearStep : 15.0 + std::log(hertz / 1000.0) / logStep;
}

double hertzOf(double mel) {
    constexpr double linearStep = 200.0 / 3.0;
    const double logStep = std::log(6.4) / 27.0;
    return mel < 15.0 ? mel * linearStep : 1000.0 * std::exp((mel - 15.0) * logStep);
}

/// A mel band as the run of spectrum bins that it weighs.
struct Band {
    std::size_t first = 0;
    std::vector<float> weights;
};

std::vector<Band> melBandsOf(std::size_t count) {
    constexpr double nyquist = speechSampleRate / 2.0;
    std::vector<double> edges(count + 2);
    for (std::size_t i = 0; i < edges.size(); ++i)
        edges[i] = hertzOf(melOf(nyquist) * static_cast<double>(i) / static_cast<double>(count + 1));
    std::vector<Band> bands(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double low = edges[i], centre = edges[i + 1], high = edges[i + 2];
        for (std::size_t bin = 0; bin < spectrumSize; ++bin) {
            const double hertz = nyquist * static_cast<double>(bin) / (spectrumSize - 1);
            const double weight = std::min((hertz - low) / (centre - low), (high - hertz) / (high - centre));
            if (weight <= 0) continue;
            if (bands[i].weights.empty()) bands[i].first = bin;
            bands[i].weights.push_back(static_cast<float>(weight * 2.0 / (high - low)));
        }
    }
    return bands;
}

struct FreeFft {
    void operator()(kiss_fftr_cfg config) const noexcept { kiss_fftr_free(config); }
};
using Fft = std::unique_ptr<kiss_fftr_state, FreeFft>;

float cleaned(float sample) {
    return std::isnan(sample) ? 0.0F : std::clamp(sample, -loudestSample, loudestSample);
}

/// The audio with its silence up to `total` samples, reflected by `reach` at both ends.
std::vector<float> padded(std::span<const float> audio, std::size_t total) {
    std::vector<float> samples(total + 2 * reach, 0.0F);
    for (std::size_t i = 0; i < audio.size(); ++i)
        samples[reach + i] = cleaned(audio[i]);
    for (std::size_t i = 1; i <= reach; ++i) {
        samples[reach - i] = samples[reach + std::min(i, total - 1)];
        samples[reach + total - 1 + i] = samples[reach + total - 1 - std::min(i, total - 1)];
    }
    return samples;
}

} // namespace

struct FeatureExtractor::Tables {
    explicit Tables(std::size_t melBands) : bands(melBandsOf(melBands)) {
        for (std::size_t i = 0; i < fftSize; ++i)
            window[i] =
                static_cast<float>(0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(i) / fftSize));
    }

    std::vector<Band> bands;
    std::array<float, fftSize> window{};
};

FeatureExtractor::FeatureExtractor(std::size_t melBands) : tables(std::make_unique<const Tables>(melBands)) {}

FeatureExtractor::~FeatureExtractor() = default;

std::size_t FeatureExtractor::melBands() const noexcept {
    return tables->bands.size();
}

std::size_t FeatureExtractor::windowSamples() noexcept {
    return speechWindowSamples;
}

std::vector<float> FeatureExtractor::logMel(std::span<const float> audio, std::size_t frames) const {
    if (audio.size() > frames * samplesPerFrame) throw std::invalid_argument("more audio than frames");
    std::vector<float> features(melBands() * frames, std::log10(quietestPower));
    const auto samples = padded(audio, frames * samplesPerFrame);
    // The library's plan holds scratch memory of its own, so parallel callers need one each.
    const Fft fft(kiss_fftr_alloc(fftSize, 0, nullptr, nullptr));
    if (!fft) throw std::bad_alloc();
    std::array<float, fftSize> segment{};
    std::array<kiss_fft_cpx, spectrumSize> spectrum{};
    std::array<float, spectrumSize> power{};
    const std::size_t sounding = std::min(frames, (audio.size() + reach) / samplesPerFrame + 1);
    // Frames of the silent tail keep the floor they were filled with.
    for (std::size_t frame = 0; frame < sounding; ++frame) {
        const float* begin = samples.data() + frame * samplesPerFrame;
        for (std::size_t i = 0; i < fftSize; ++i)
            segment[i] = begin[i] * tables->window[i];
        kiss_fftr(fft.get(), segment.data(), spectrum.data());
        for (std::size_t i = 0; i < spectrumSize; ++i)
            power[i] = spectrum[i].r * spectrum[i].r + spectrum[i].i * spectrum[i].i;
        for (std::size_t band = 0; band < melBands(); ++band) {
            const auto& [first, weights] = tables->bands[band];
            float sum = 0;
            for (std::size_t i = 0; i < weights.size(); ++i)
                sum += weights[i] * power[first + i];
            features[band * frames + frame] = std::log10(std::max(sum, quietestPower));
        }
    }
    const float floor = *std::ranges::max_element(features) - dynamicRange;
    for (float& value : features)
        value = (std::max(value, floor) + 4.0F) / 4.0F;
    return features;
}

} // namespace tavrin
