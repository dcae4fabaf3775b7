#include "meeting/EchoReference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace tavrin {
namespace {

/// Noise in bursts like syllables, a different one for each seed.
std::vector<float> talk(unsigned seed, double seconds) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> uniform(-1, 1);
    std::vector<float> samples;
    while (static_cast<double>(samples.size()) < seconds * 16'000) {
        const float level = 0.02F + (0.3F * std::abs(uniform(random)));
        const auto length = static_cast<std::size_t>(2'000 + (1'200 * uniform(random)));
        for (std::size_t i = 0; i < length; ++i)
            samples.push_back(
                level * uniform(random) *
                static_cast<float>(std::sin(3.1416 * static_cast<double>(i) / static_cast<double>(length))));
    }
    samples.resize(static_cast<std::size_t>(seconds * 16'000));
    return samples;
}

std::vector<std::byte> pcm(const std::vector<float>& samples) {
    std::vector<std::byte> bytes;
    for (const float sample : samples) {
        const auto value = static_cast<std::int16_t>(std::lround(sample * 32'767));
        bytes.push_back(static_cast<std::byte>(value & 0xFF));
        bytes.push_back(static_cast<std::byte>((value >> 8) & 0xFF));
    }
    return bytes;
}

std::vector<float> part(const std::vector<float>& all, double from, double to, float gain) {
    std::vector<float> result(all.begin() + static_cast<std::ptrdiff_t>(from * 16'000),
                              all.begin() + static_cast<std::ptrdiff_t>(to * 16'000));
    for (float& sample : result)
        sample *= gain;
    return result;
}

TEST(EchoReferenceTest, weaker_and_later_sound_of_the_other_side_is_known_and_own_speech_is_not) {
    EchoReference reference;
    const std::vector<float> them = talk(1, 70), me = talk(2, 70);
    EXPECT_EQ(reference.likeness(part(them, 0, 2, 1), 0), 0) << "nothing was said yet";
    reference.append(pcm(them));
    constexpr std::int64_t at40 = 40 * 16'000;
    // What sounded at 40 s is heard from 40.06 s on, 12 and 26 dB weaker.
    for (const float gain : {0.25F, 0.05F})
        EXPECT_GT(reference.likeness(part(them, 40, 42, gain), at40 + 960), EchoReference::sureLikeness) << gain;
    EXPECT_LT(reference.likeness(part(me, 40, 42, 1), at40), EchoReference::sureLikeness);
    std::vector<float> both = part(me, 40, 42, 0.5F);
    const std::vector<float> echo = part(them, 40, 42, 0.25F);
    for (std::size_t i = 0; i < both.size(); ++i)
        both[i] += echo[i];
    EXPECT_LT(reference.likeness(both, at40 + 960), EchoReference::sureLikeness) << "both talk";
    EXPECT_LT(reference.likeness(part(them, 40, 42, 1), at40 + 16'000), EchoReference::sureLikeness) << "a second late";
    EXPECT_EQ(reference.likeness(part(them, 40, 40.4, 1), at40), 0) << "too short to tell";
    EXPECT_EQ(reference.likeness(part(them, 2, 4, 1), 2 * 16'000), 0) << "forgotten";
    EXPECT_EQ(reference.likeness(std::vector<float>(32'000, 0.0F), at40), 0);
}

} // namespace
} // namespace tavrin
