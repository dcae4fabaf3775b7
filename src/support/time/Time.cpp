#include "support/time/Time.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace tavrin {

namespace {

using std::chrono::sys_days;
using Milliseconds = std::chrono::sys_time<std::chrono::milliseconds>;

constexpr Milliseconds earliest = sys_days(std::chrono::year(0) / 1 / 1);
constexpr Milliseconds latest = sys_days(std::chrono::year(10'000) / 1 / 1) - std::chrono::milliseconds(1);

Milliseconds toMilliseconds(Date date) {
    const double unix = date.unix() * 1000;
    if (!(unix > static_cast<double>(earliest.time_since_epoch().count()))) return earliest;
    if (unix >= static_cast<double>(latest.time_since_epoch().count())) return latest;
    return Milliseconds(std::chrono::milliseconds(std::llround(unix)));
}

} // namespace

std::string iso8601(Date date) {
    const Milliseconds moment = toMilliseconds(date);
    const auto midnight = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day day(midnight);
    const std::chrono::hh_mm_ss time(moment - midnight);

    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
    return text.data();
}

} // namespace tavrin
