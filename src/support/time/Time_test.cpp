#include "support/time/Time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace tavrin {
namespace {

using namespace std::chrono_literals;

TEST(Date, is_written_and_read_as_iso_8601) {
    struct Case {
        double unix;
        const char* seconds;
        const char* milliseconds;
    };
    const std::vector<Case> cases = {
        {978'307'200, "2001-01-01T00:00:00Z", "2001-01-01T00:00:00.000Z"},
        {1'795'268'264.25, "2026-11-21T13:37:44Z", "2026-11-21T13:37:44.250Z"},
        {1'709'164'800.123, "2024-02-29T00:00:00Z", "2024-02-29T00:00:00.123Z"},
        {-0.5, "1969-12-31T23:59:59Z", "1969-12-31T23:59:59.500Z"},
        {1'767'225'599.9996, "2026-01-01T00:00:00Z", "2026-01-01T00:00:00.000Z"},
        {NAN, "0000-01-01T00:00:00Z", "0000-01-01T00:00:00.000Z"},
        {1e300, "9999-12-31T23:59:59Z", "9999-12-31T23:59:59.999Z"},
    };
    for (const Case& c : cases) {
        const Date date = Date::fromUnix(c.unix);
        EXPECT_EQ(iso8601(date), c.seconds);
        EXPECT_EQ(iso8601(date, IsoPrecision::milliseconds), c.milliseconds);
        const Date readBack = parseIso8601(c.milliseconds).value_or(Date(-1));
        EXPECT_EQ(iso8601(readBack, IsoPrecision::milliseconds), c.milliseconds);
    }
}

TEST(Date, reads_offsets_and_any_number_of_fraction_digits) {
    const Date expected = Date::fromUnix(1'795'268'264);
    EXPECT_EQ(parseIso8601("2026-11-21T15:37:44+02:00"), expected);
    EXPECT_EQ(parseIso8601("2026-11-21T08:07:44-05:30"), expected);
    const Date fine = parseIso8601("2026-11-21T13:37:44.123456789012Z").value_or(Date());
    EXPECT_NEAR(fine.secondsSince(expected), 0.123456789, 1e-6);
}

TEST(Date, is_not_read_from_anything_else) {
    // Parts that are missing, of another form, or out of their range; more before or behind.
    for (const char* text :
         {"", "2026-11-21", "2026-11-21T13:37:44", "2026-11-21 13:37:44Z", "2026-11-21T13:37Z", "2026-11-21T13:37:44ZZ",
          " 2026-11-21T13:37:44Z", "2026-11-21T13:37:44.Z", "2026-11-21T13:37:44,5Z", "2026-02-29T13:37:44Z",
          "2026-13-01T13:37:44Z", "2026-11-21T24:00:00Z", "2026-11-21T13:60:44Z", "2026-11-21T13:37:60Z",
          "2026-11-21T13:37:44+0200", "2026-11-21T13:37:44+24:00", "-026-11-21T13:37:44Z",
          "2026-11-21T13:37:4\u0664Z"}) {
        EXPECT_FALSE(parseIso8601(text).has_value()) << text;
    }
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
