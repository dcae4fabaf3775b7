#include "meeting/EchoSuppressor.h"

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

std::vector<float> sum(std::vector<float> one, const std::vector<float>& other) {
    for (std::size_t i = 0; i < one.size(); ++i)
        one[i] += other[i];
    return one;
}

TEST(EchoSuppressorTest, weaker_and_later_sound_of_the_other_side_is_known_and_own_speech_is_not) {
    constexpr double sure = EchoSuppressor::sureLikeness;
    EchoReference reference;
    EchoSuppressor suppressor(reference);
    const std::vector<float> them = talk(1, 70), me = talk(2, 70);
    EXPECT_EQ(suppressor.likeness(part(them, 0, 2, 1), 0), 0) << "nothing was said yet";
    reference.append(pcm(them));
    constexpr std::int64_t at40 = 640'000;
    // What sounded at 40 s is heard from 40.06 s on, 12 and 26 dB weaker.
    for (const float gain : {0.25F, 0.05F})
        EXPECT_GT(suppressor.likeness(part(them, 40, 42, gain), at40 + 960), sure) << gain;
    EXPECT_LT(suppressor.likeness(part(me, 40, 42, 1), at40), sure);
    EXPECT_LT(suppressor.likeness(part(them, 44, 44.25, 0.25F), 704'960), EchoSuppressor::someLikeness);
    std::vector<float> echo = part(them, 40, 42, 0.25F);
    suppressor.silenceEcho(echo, at40 + 960);
    EXPECT_EQ(suppressor.likeness(part(them, 44, 44.25, 0.25F), 704'960), EchoSuppressor::someLikeness)
        << "too short to tell, but that late an echo has come before";
    EXPECT_LT(suppressor.likeness(sum(part(me, 40, 42, 0.5F), part(them, 40, 42, 0.25F)), at40 + 960), sure)
        << "both talk";
    EXPECT_LT(suppressor.likeness(part(them, 40, 42, 1), at40 + 16'000), sure) << "a second late";
    EXPECT_EQ(suppressor.likeness(part(them, 2, 4, 1), 32'000), 0) << "forgotten";
    EXPECT_EQ(suppressor.likeness(std::vector<float>(32'000, 0.0F), at40), 0);
}

double power(std::span<const float> samples, double from, double to) {
    double squares = 0;
    for (auto i = static_cast<std::size_t>(from * 16'000); i < static_cast<std::size_t>(to * 16'000); ++i)
        squares += static_cast<double>(samples[i]) * samples[i];
    return squares / (16'000 * (to - from));
}

TEST(EchoSuppressorTest, an_echo_goes_and_the_word_behind_it_and_into_it_stay) {
    EchoReference reference;
    EchoSuppressor suppressor(reference);
    std::vector<float> them = talk(1, 12);
    std::fill(them.begin() + 128'000, them.end(), 0.0F);
    reference.append(pcm(them));
    std::vector<float> heard(them.size());
    for (std::size_t i = 960; i < heard.size(); ++i)
        heard[i] = 0.25F * them[i - 960];
    const std::vector<float> word = talk(2, 0.6);
    for (std::size_t i = 0; i < word.size(); ++i) {
        heard[80'000 + i] += word[i];
        heard[129'600 + i] += word[i];
    }
    const auto stretch = [&](double from, double to) { return part(heard, from, to, 1); };
    std::vector<float> before = stretch(5, 9);
    EXPECT_EQ(suppressor.silenceEcho(before, 80'000).silenced, 0U) << "not sure yet";
    EXPECT_EQ(before, stretch(5, 9));

    std::vector<float> first = stretch(1, 4);
    EXPECT_EQ(suppressor.silenceEcho(first, 16'000).own, 0U);
    EXPECT_LT(power(first, 0, 3), power(stretch(1, 4), 0, 3) / 1'000);

    std::vector<float> both = stretch(5, 9);
    const auto outcome = suppressor.silenceEcho(both, 80'000);
    EXPECT_NEAR(static_cast<double>(outcome.own), 60, 10);
    for (const double begin : {0.0, 3.1})
        EXPECT_NEAR(power(both, begin, begin + 0.6) / power(stretch(5, 9), begin, begin + 0.6), 1, 0.05) << begin;
    EXPECT_LT(power(both, 0.8, 2.9), power(stretch(5, 9), 0.8, 2.9) / 1'000);

    std::vector<float> own = talk(3, 2);
    const std::vector<float> whole = own;
    EXPECT_EQ(suppressor.silenceEcho(own, 150'000).silenced, 0U) << "nobody else speaks";
    EXPECT_EQ(own, whole);

    std::vector<float> over = talk(4, 2); // with pauses in which the other side is not heard any more
    for (std::size_t i = 0; i < over.size(); ++i)
        if (i % 16'000 > 8'000) over[i] = 0;
    const std::vector<float> wholeOver = over;
    EXPECT_EQ(suppressor.silenceEcho(over, 80'000).silenced, 0U) << "headphones are on";
    EXPECT_EQ(over, wholeOver);
    std::vector<float> next = talk(5, 1);
    EXPECT_EQ(suppressor.silenceEcho(next, 96'000).silenced, 0U) << "and stay on";
}

/// What the microphone hears while the other side talks between two seconds of silence.
struct HeardWith {
    explicit HeardWith(const std::vector<float>& said, const std::vector<float>& heard) : microphone(heard) {
        std::vector<float> them(16'000);
        them.insert(them.end(), said.begin(), said.end());
        them.resize(them.size() + 32'000);
        reference.append(pcm(them));
    }
    [[nodiscard]] double likeness() const { return suppressor.likeness(microphone, 16'000); }

    std::vector<float> microphone;
    EchoReference reference;
    EchoSuppressor suppressor{reference};
};

TEST(EchoSuppressorTest, speech_that_starts_and_stops_with_the_other_side_is_no_echo) {
    int doubtful = 0, all = 0;
    for (unsigned seed = 0; seed < 120; ++seed)
        for (const double seconds : {0.4, 0.8, 2.0}) {
            std::vector<float> mine = talk(2 * seed, seconds);
            const double early = 0.1 * (seed % 4); // one begins sooner, both end with a step
            mine.resize(mine.size() + 8'000);
            const double likeness =
                HeardWith(talk((2 * seed) + 1, seconds + early), part(mine, 0, seconds + 0.5, 1)).likeness();
            EXPECT_LT(likeness, EchoSuppressor::sureLikeness) << seed << ", " << seconds << " s";
            doubtful += likeness >= EchoSuppressor::someLikeness ? 1 : 0;
            ++all;
        }
    EXPECT_LT(doubtful, all / 25);
}

TEST(EchoSuppressorTest, an_echo_is_known_through_a_room_and_its_noise) {
    int sure = 0, all = 0, leftOver = 0;
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
            HeardWith echo(said, heard);
            const double likeness = echo.likeness();
            EXPECT_GE(likeness, EchoSuppressor::someLikeness) << seed << " at " << gain;
            ++all;
            if (likeness < EchoSuppressor::sureLikeness) continue;
            ++sure;
            leftOver += echo.suppressor.silenceEcho(echo.microphone, 16'000).own > 0 ? 1 : 0;
        }
    EXPECT_GE(sure, all * 9 / 10);
    EXPECT_LE(leftOver, all / 20);
}

} // namespace
} // namespace tavrin
