#include "support/time/Time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace tavrin {
namespace {

using namespace std::chrono_literals;

TEST(Date, is_written_as_iso_8601_to_the_nearest_millisecond) {
    struct Case {
        double unix;
        const char* text;
    };
    const std::vector<Case> cases = {
        {1'795'268'264.25, "2026-11-21T13:37:44.250Z"},
        {1'709'164'800.123, "2024-02-29T00:00:00.123Z"},
        {-0.5, "1969-12-31T23:59:59.500Z"},
        {1'767'225'599.9996, "2026-01-01T00:00:00.000Z"},
        {NAN, "0000-01-01T00:00:00.000Z"},
        {1e300, "9999-12-31T23:59:59.999Z"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(iso8601(Date::fromUnix(c.unix)), c.text);
}

TEST(Date, differences_keep_the_nanosecond_near_the_reference_and_saturate_far_away) {
    const Date start;
    EXPECT_EQ((start + 1500ms) - start, 1500ms);
    EXPECT_EQ(start - (start + 3ns), -3ns);
    EXPECT_EQ(Date(1e12) - start, Duration::max());
    EXPECT_EQ(start - Date(1e12), Duration::min());
    EXPECT_LT(start - 1ns, start);
}

TEST(SteadyInstant, saturates_instead_of_overflowing) {
    const SteadyInstant now(5s);
    EXPECT_EQ(after(now, Duration::max()), SteadyInstant::max());
    EXPECT_EQ(after(SteadyInstant::max(), 1ns), SteadyInstant::max());
    EXPECT_EQ(after(SteadyInstant::min(), Duration::max()), SteadyInstant(-1ns));
    EXPECT_EQ(after(now, -1s), now);
    EXPECT_EQ(after(now, 1s), SteadyInstant(6s));
}

} // namespace
} // namespace tavrin
