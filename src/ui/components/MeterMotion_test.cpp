#include "ui/components/MeterMotion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tavrin {

namespace {

TEST(MeterMotion, rises_at_once_and_falls_twelve_decibels_a_second) {
    MeterMotion motion;
    motion.set(0.8F, 10);
    EXPECT_FLOAT_EQ(motion.level(), 0.8F);
    motion.set(0, 10);
    motion.advance(10.5);
    EXPECT_NEAR(20 * std::log10(motion.level() / 0.8F), -6, 0.01);
    motion.advance(11);
    EXPECT_NEAR(20 * std::log10(motion.level() / 0.8F), -12, 0.01);
}

TEST(MeterMotion, the_fall_does_not_depend_on_how_often_it_is_drawn) {
    MeterMotion often;
    MeterMotion seldom;
    for (MeterMotion* motion : {&often, &seldom}) {
        motion->set(1, 0);
        motion->set(0, 0);
    }
    for (int frame = 1; frame <= 60; ++frame)
        often.advance(frame / 60.0);
    seldom.advance(1);
    EXPECT_NEAR(often.level(), seldom.level(), 1e-4);
    EXPECT_NEAR(often.peak(), seldom.peak(), 1e-4);
}

TEST(MeterMotion, the_mark_holds_for_six_tenths_then_falls_to_the_level) {
    MeterMotion motion;
    motion.set(0.5F, 0);
    motion.set(0.1F, 0);
    motion.advance(0.6);
    EXPECT_FLOAT_EQ(motion.peak(), 0.5F);
    motion.advance(1.1);
    EXPECT_NEAR(20 * std::log10(motion.peak() / 0.5F), -6, 0.01);
    EXPECT_GE(motion.peak(), motion.level());
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
