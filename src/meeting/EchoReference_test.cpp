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
    constexpr std::int64_t at40 = 640'000;
    // What sounded at 40 s is heard from 40.06 s on, 12 and 26 dB weaker.
    for (const float gain : {0.25F, 0.05F})
        EXPECT_GT(reference.likeness(part(them, 40, 42, gain), at40 + 960), EchoReference::sureLikeness) << gain;
    EXPECT_LT(reference.likeness(part(me, 40, 42, 1), at40), EchoReference::sureLikeness);
    EXPECT_EQ(reference.likeness(part(them, 44, 44.25, 0.25F), 704'960), EchoReference::someLikeness)
        << "too short to tell, but that late an echo has come before";
    std::vector<float> both = part(me, 40, 42, 0.5F);
    const std::vector<float> echo = part(them, 40, 42, 0.25F);
    for (std::size_t i = 0; i < both.size(); ++i)
        both[i] += echo[i];
    EXPECT_LT(reference.likeness(both, at40 + 960), EchoReference::sureLikeness) << "both talk";
    EXPECT_LT(reference.likeness(part(them, 40, 42, 1), at40 + 16'000), EchoReference::sureLikeness) << "a second late";
    EXPECT_EQ(reference.likeness(part(them, 2, 4, 1), 32'000), 0) << "forgotten";
    EXPECT_EQ(reference.likeness(std::vector<float>(32'000, 0.0F), at40), 0);
}

/// How alike what the microphone hears is to what the other side said for so long, between seconds of silence.
double likenessTo(const std::vector<float>& said, const std::vector<float>& microphone) {
    std::vector<float> them(16'000);
    them.insert(them.end(), said.begin(), said.end());
    them.resize(them.size() + 32'000);
    EchoReference reference;
    reference.append(pcm(them));
    return reference.likeness(microphone, 16'000);
}

TEST(EchoReferenceTest, speech_that_starts_and_stops_with_the_other_side_is_no_echo) {
    int doubtful = 0, all = 0;
    for (unsigned seed = 0; seed < 120; ++seed)
        for (const double seconds : {0.4, 0.8, 2.0}) {
            std::vector<float> mine = talk(2 * seed, seconds);
            const double early = 0.1 * (seed % 4); // one begins sooner, both end with a step
            mine.resize(mine.size() + 8'000);
            const double likeness = likenessTo(talk((2 * seed) + 1, seconds + early), part(mine, 0, seconds + 0.5, 1));
            EXPECT_LT(likeness, EchoReference::sureLikeness) << seed << ", " << seconds << " s";
            doubtful += likeness >= EchoReference::someLikeness ? 1 : 0;
            ++all;
        }
    EXPECT_LT(doubtful, all / 25);
}

TEST(EchoReferenceTest, an_echo_is_known_through_a_room_and_its_noise) {
    int sure = 0, all = 0;
    for (unsigned seed = 0; seed < 25; ++seed)
        for (const float gain : {0.25F, 0.1F}) { // -12, -20 dB
            const std::vector<float> said = talk(seed, 2.5);
            std::mt19937 random(seed);
            std::normal_distribution<float> noise(0, 0.001F), reflection(0, 1);
            std::vector<float> room(3'200); // dies away by 60 dB in 0.2 s, behind the first sound
            for (std::size_t i = 0; i < room.size(); ++i)
                room[i] = 0.05F * reflection(random) * std::pow(10.0F, -3 * static_cast<float>(i) / 3'200);
            room[0] = 1;
            std::vector<float> heard(said.size() + 8'000);
            for (std::size_t i = 0; i < said.size(); ++i)
                for (std::size_t k = 0; k < room.size(); k += 40)
                    heard[i + k + 1'600] += gain * said[i] * room[k]; // 0.1 s late
            for (float& sample : heard)
                sample += noise(random);
            const double likeness = likenessTo(said, heard);
            EXPECT_GE(likeness, EchoReference::someLikeness) << seed << " at " << gain;
            sure += likeness >= EchoReference::sureLikeness ? 1 : 0;
            ++all;
        }
    EXPECT_GE(sure, all * 9 / 10);
}

} // namespace
} // namespace tavrin
