#include "platform/linux/PipeWireBlocks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace tavrin {

namespace {

using namespace std::chrono_literals;

/// `frames` samples that count up from `first` in ten thousandths.
std::vector<float> ramp(std::size_t frames, std::size_t first = 0) {
    std::vector<float> samples(frames);
    for (std::size_t i = 0; i < frames; ++i)
        samples[i] = static_cast<float>((first + i) % 10'000) / 10'000;
    return samples;
}

TEST(PipeWireBlocks, short_cycles_become_pieces_of_20_ms_and_long_ones_are_split_with_their_times) {
    PipeWireBlocks blocks;
    const auto left = ramp(5000), right = ramp(5000, 1);
    EXPECT_FALSE(blocks.write(left.data(), right.data(), 500, 48000, SteadyInstant(1s)));
    EXPECT_EQ(blocks.front(), nullptr);
    EXPECT_TRUE(blocks.write(left.data() + 500, nullptr, 500, 48000, SteadyInstant(2s)));
    ASSERT_NE(blocks.front(), nullptr);
    EXPECT_EQ(blocks.front()->frames, 1000U);
    EXPECT_EQ(blocks.front()->end, SteadyInstant(2s));
    EXPECT_EQ(blocks.front()->samples[999], right[499]);
    EXPECT_EQ(blocks.front()->samples[1998], left[999]);
    EXPECT_EQ(blocks.front()->samples[1999], 0.0F);
    blocks.pop();

    EXPECT_TRUE(blocks.write(left.data(), right.data(), 4800, 48000, SteadyInstant(3s)));
    std::size_t frames = 0;
    for (; blocks.front() != nullptr; blocks.pop()) {
        EXPECT_EQ(blocks.front()->samples[0], left[frames]);
        frames += blocks.front()->frames;
        EXPECT_NEAR(std::chrono::duration<double>(SteadyInstant(3s) - blocks.front()->end).count(),
                    static_cast<double>(4800 - frames) / 48000, 1e-6);
    }
    // What is shorter than 20 ms waits for the next cycle.
    EXPECT_EQ(frames, 2 * PipeWireBlocks::capacity);
}

TEST(PipeWireBlocks, loud_sums_are_limited_and_another_rate_begins_another_piece) {
    PipeWireBlocks blocks;
    const std::vector<float> loud(200, 1.5F), quiet(2000, -3.0F);
    blocks.write(loud.data(), quiet.data(), 200, 48000, SteadyInstant(1s));
    EXPECT_TRUE(blocks.write(loud.data(), quiet.data(), 200, 8000, SteadyInstant(2s)));
    EXPECT_EQ(blocks.front()->rate, 48000U);
    EXPECT_EQ(blocks.front()->samples[0], 1.0F);
    EXPECT_EQ(blocks.front()->samples[1], -1.0F);
    blocks.pop();
    EXPECT_EQ(blocks.front()->rate, 8000U);
}

TEST(PipeWireBlocks, what_a_late_reader_misses_is_marked_as_a_gap) {
    PipeWireBlocks blocks;
    const auto sound = ramp(1024);
    for (std::size_t i = 0; i < PipeWireBlocks::count + 3; ++i)
        blocks.write(sound.data(), sound.data(), sound.size(), 48000, SteadyInstant(1s));
    for (std::size_t i = 0; i < PipeWireBlocks::count; ++i, blocks.pop()) {
        ASSERT_NE(blocks.front(), nullptr);
        EXPECT_FALSE(blocks.front()->followsGap);
    }
    EXPECT_EQ(blocks.front(), nullptr);
    blocks.write(sound.data(), sound.data(), sound.size(), 48000, SteadyInstant(2s));
    EXPECT_TRUE(blocks.front()->followsGap);
}

TEST(PipeWireBlocks, nothing_of_an_ended_take_is_in_the_next_one) {
    PipeWireBlocks blocks;
    const auto former = ramp(1200), later = ramp(1000, 5000);
    blocks.write(former.data(), former.data(), 1000, 48000, SteadyInstant(1s));
    blocks.write(former.data(), former.data(), 200, 48000, SteadyInstant(1s));
    blocks.markGap();
    blocks.clear();
    EXPECT_EQ(blocks.front(), nullptr);
    EXPECT_TRUE(blocks.write(later.data(), later.data(), 1000, 48000, SteadyInstant(2s)));
    EXPECT_EQ(blocks.front()->frames, 1000U);
    EXPECT_EQ(blocks.front()->samples[0], later.front());
    EXPECT_FALSE(blocks.front()->followsGap);
}

TEST(PipeWireBlocks, a_reader_on_another_thread_gets_everything_in_order) {
    PipeWireBlocks blocks;
    constexpr std::size_t cycles = 3000, length = 1000;
    std::atomic<std::size_t> read = 0;
    std::thread writer([&] {
        for (std::size_t i = 0; i < cycles; ++i) {
            while (i - read >= PipeWireBlocks::count)
                std::this_thread::yield();
            const auto sound = ramp(length, i * length);
            blocks.write(sound.data(), sound.data(), length, 48000, SteadyInstant(Duration(i)));
        }
    });
    while (read < cycles) {
        const auto* block = blocks.front();
        if (block == nullptr) {
            std::this_thread::yield();
            continue;
        }
        const auto expected = ramp(length, read * length);
        EXPECT_EQ(block->end, SteadyInstant(Duration(read)));
        EXPECT_FALSE(block->followsGap);
        EXPECT_EQ(block->frames, length);
        EXPECT_EQ(block->samples[0], expected.front());
        EXPECT_EQ(block->samples[2 * length - 1], expected.back());
        blocks.pop();
        ++read;
    }
    writer.join();
}

} // namespace

} // namespace tavrin
