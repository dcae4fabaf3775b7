#include "speech/FeatureExtractor.h"
#include "speech/SpeechAudio.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace tavrin {

namespace {

/// The definition of the features written down step by step in double precision, with a plain discrete transform.
std::vector<double> plainLogMel(std::vector<double> audio, std::size_t frames, std::size_t bands) {
    audio.resize(frames * 160);
    const auto at = [&](long index) {
        const long last = static_cast<long>(audio.size()) - 1;
        if (index < 0) index = -index;
        return audio[static_cast<std::size_t>(index > last ? 2 * last - index : index)];
    };
    const auto mel = [](double hz) { return hz < 1000 ? hz * 3 / 200 : 15 + 27 * std::log(hz / 1000) / std::log(6.4); };
    const auto hertz = [](double m) { return m < 15 ? m * 200 / 3 : 1000 * std::pow(6.4, (m - 15) / 27); };
    std::vector<double> features(bands * frames);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        std::vector<double> power(201);
        for (std::size_t k = 0; k < 201; ++k) {
            double re = 0, im = 0;
            for (int n = 0; n < 400; ++n) {
                const double hann = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * n / 400);
                const double x = at(static_cast<long>(frame) * 160 - 200 + n) * hann;
                re += x * std::cos(2 * std::numbers::pi * static_cast<double>(k) * n / 400);
                im -= x * std::sin(2 * std::numbers::pi * static_cast<double>(k) * n / 400);
            }
            power[k] = re * re + im * im;
        }
        for (std::size_t band = 0; band < bands; ++band) {
            const auto edge = [&](std::size_t i) {
                return hertz(mel(8000) * static_cast<double>(i) / static_cast<double>(bands + 1));
            };
            const double low = edge(band), centre = edge(band + 1), high = edge(band + 2);
            double sum = 0;
            for (std::size_t k = 0; k < 201; ++k) {
                const double f = static_cast<double>(k) * 40;
                sum += power[k] * std::max(0.0, std::min((f - low) / (centre - low), (high - f) / (high - centre))) *
                       2 / (high - low);
            }
            features[band * frames + frame] = std::log10(std::max(sum, 1e-10));
        }
    }
    const double floor = *std::ranges::max_element(features) - 8;
    for (double& value : features)
        value = (std::max(value, floor) + 4) / 4;
    return features;
}

std::vector<float> someSound(std::size_t samples) {
    std::mt19937 generator(7);
    std::normal_distribution<float> noise(0, 0.02F);
    std::vector<float> audio(samples);
    for (std::size_t i = 0; i < samples; ++i)
        audio[i] = noise(generator) +
                   0.3F * std::sin(static_cast<float>(i) * 0.2F) * std::sin(static_cast<float>(i) * 0.0007F);
    return audio;
}

TEST(FeatureExtractor, agrees_with_the_definition_in_double_precision) {
    // Ends inside a frame, with a frame, at the very end, and in the reflected part.
    for (const std::size_t samples : {1UL, 3'217UL, 4'800UL, 6'400UL, 6'399UL, 6'250UL}) {
        for (const std::size_t bands : {80UL, 128UL}) {
            const auto audio = someSound(samples);
            const auto features = FeatureExtractor(bands).logMel(audio, 40);
            const auto wanted = plainLogMel({audio.begin(), audio.end()}, 40, bands);
            ASSERT_EQ(features.size(), wanted.size());
            for (std::size_t i = 0; i < wanted.size(); ++i)
                ASSERT_NEAR(features[i], wanted[i], 1e-3) << samples << " samples, value " << i;
        }
    }
}

TEST(FeatureExtractor, bad_samples_do_not_spoil_the_window) {
    auto audio = someSound(16'000);
    const auto clean = FeatureExtractor().logMel(audio, 200);
    audio[100] = std::numeric_limits<float>::quiet_NaN();
    const auto features = FeatureExtractor().logMel(audio, 200);
    for (std::size_t band = 0; band < 80; ++band)
        EXPECT_NEAR(features[band * 200 + 50], clean[band * 200 + 50], 1e-4F);

    audio[200] = std::numeric_limits<float>::infinity();
    audio[300] = -3e38F;
    EXPECT_TRUE(std::ranges::all_of(FeatureExtractor().logMel(audio, 200), [](float v) { return std::isfinite(v); }));
}

TEST(FeatureExtractor, silence_is_the_same_everywhere_and_too_much_audio_is_refused) {
    const auto features = FeatureExtractor().logMel({}, 3000);
    EXPECT_EQ(features.size(), 80U * 3000);
    EXPECT_EQ(std::ranges::min(features), std::ranges::max(features));
    EXPECT_THROW((void)FeatureExtractor().logMel(someSound(161), 1), std::invalid_argument);
}

} // namespace

} // namespace tavrin
