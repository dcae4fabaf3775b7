#include "ui/components/MeterMotion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tavrin {
namespace {

TEST(MeterMotion, rises_at_once_and_falls_twelve_decibels_a_second_its_mark_six_tenths_later) {
    const auto decibels = [](float level) { return 20 * std::log10(level / 0.5F); };
    MeterMotion motion;
    motion.set(0.5F, 10);
    EXPECT_FLOAT_EQ(motion.level(), 0.5F);
    motion.set(0.1F, 10);
    motion.advance(10.6);
    EXPECT_NEAR(decibels(motion.level()), -7.2, 0.01);
    EXPECT_FLOAT_EQ(motion.peak(), 0.5F);
    motion.advance(11);
    EXPECT_NEAR(decibels(motion.level()), -12, 0.01);
    motion.advance(11.1);
    EXPECT_NEAR(decibels(motion.peak()), -6, 0.01);
}

TEST(MeterMotion, comes_to_rest_at_a_steady_level_and_at_silence) {
    MeterMotion motion;
    EXPECT_TRUE(motion.isStill());
    motion.set(1, 0);
    motion.set(0.3F, 0);
    EXPECT_FALSE(motion.isStill());
    motion.advance(3);
    EXPECT_TRUE(motion.isStill());
    EXPECT_FLOAT_EQ(motion.level(), 0.3F);
    motion.set(0, 3);
    motion.advance(10);
    EXPECT_TRUE(motion.isStill());
    EXPECT_EQ(motion.level(), 0);
}

TEST(MeterMotion, levels_that_are_none_do_no_harm) {
    MeterMotion motion;
    motion.set(std::numeric_limits<float>::quiet_NaN(), 0);
    EXPECT_EQ(motion.level(), 0);
    motion.set(7, 0);
    EXPECT_EQ(motion.level(), 1);
    motion.set(-1, 5);
    EXPECT_GE(motion.level(), 0);
}

} // namespace
} // namespace tavrin
