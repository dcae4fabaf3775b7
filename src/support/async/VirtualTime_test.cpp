#include "support/async/VirtualTime.h"

#include <gtest/gtest.h>

namespace tavrin {
namespace {

using namespace std::chrono_literals;

TEST(VirtualTimeDeathTest, refuses_what_would_hang_or_hide_a_fault) {
    VirtualTime time;
    Job again;
    again = [&] { time.main().post([&] { again(); }); };
    time.main().post([&] { again(); });
    EXPECT_DEATH(time.runUntilIdle(), "without end");

    VirtualTime other;
    other.main().post([&] { other.advance(1s); });
    EXPECT_DEATH(other.runUntilIdle(), "inside a job");

#ifndef NDEBUG
    VirtualTime third;
    third.addExecutor().post([&] { expectCurrent(third.main()); });
    EXPECT_DEATH(third.runUntilIdle(), "VirtualTime_test.cpp:.*outside its executor");
#endif
}

} // namespace
} // namespace tavrin
