#pragma once

#include <algorithm>
#include <chrono>
#include <compare>
#include <string>

namespace tavrin {

/// A length of time, in nanoseconds. Literals such as 250ms convert to it without loss.
using Duration = std::chrono::nanoseconds;

/// Names the time line of steady clocks. It is nobody's clock: its times come from a SteadyClock or an Executor.
struct SteadyTimeline {
    using rep = Duration::rep;
    using period = Duration::period;
    using duration = Duration;
    using time_point = std::chrono::time_point<SteadyTimeline, Duration>;
    static constexpr bool is_steady = true;
};

/// A moment that only ever grows, for measuring and for deadlines. Its zero means nothing and differs between runs:
/// it is never stored and never compared with a Date.
using SteadyInstant = SteadyTimeline::time_point;

/// `start` plus `delay`, held at the last moment there is, so that "practically never" may be written as
/// Duration::max(). A negative delay gives `start`.
constexpr SteadyInstant after(SteadyInstant start, Duration delay) {
    const Duration wait = std::max(delay, Duration::zero());
    const bool overflows = start.time_since_epoch() > Duration::zero() && wait > SteadyInstant::max() - start;
    return overflows ? SteadyInstant::max() : start + wait;
}

/// A moment in the calendar: seconds since 2001-01-01 00:00:00 UTC, without leap seconds. A plain value.
/// Resolution is a tenth of a microsecond for dates of this century. It may jump when the user sets the clock.
class Date final {
public:
    /// 2001-01-01 00:00:00 UTC.
    constexpr Date() = default;
    explicit constexpr Date(double secondsSinceReference) : seconds(secondsSinceReference) {}
    static constexpr Date fromUnix(double secondsSince1970) { return Date(secondsSince1970 - unixOfReference); }

    [[nodiscard]] constexpr double sinceReference() const { return seconds; }
    [[nodiscard]] constexpr double unix() const { return seconds + unixOfReference; }
    [[nodiscard]] constexpr double secondsSince(Date earlier) const { return seconds - earlier.seconds; }

    constexpr Date& operator+=(Duration d) { return *this = *this + d; }
    constexpr Date& operator-=(Duration d) { return *this = *this - d; }
    friend constexpr Date operator+(Date date, Duration d) { return Date(date.seconds + inSeconds(d)); }
    friend constexpr Date operator-(Date date, Duration d) { return Date(date.seconds - inSeconds(d)); }

    /// The time from `earlier` to `later`, to the nanosecond; held at the ends of Duration beyond 292 years.
    friend constexpr Duration operator-(Date later, Date earlier) {
        const double nanoseconds = later.secondsSince(earlier) * 1e9;
        if (nanoseconds >= 9.2e18) return Duration::max();
        if (nanoseconds <= -9.2e18) return Duration::min();
        return Duration(static_cast<Duration::rep>(nanoseconds + (nanoseconds < 0 ? -0.5 : 0.5)));
    }

    friend constexpr auto operator<=>(Date, Date) = default;

private:
    static constexpr double unixOfReference = 978'307'200;
    static constexpr double inSeconds(Duration d) { return std::chrono::duration<double>(d).count(); }

    double seconds = 0;
};

/// UTC text of `date`: "2026-11-21T13:37:44.250Z". Dates outside the years 0 to 9999 are shown as the nearest date
/// inside.
std::string iso8601(Date date);

} // namespace tavrin
