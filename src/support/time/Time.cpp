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

/// Reads a text from the left. Once anything did not fit, `ok` stays false.
struct Reader {
    std::string_view rest;
    bool ok = true;

    bool take(char wanted) {
        if (rest.empty() || rest.front() != wanted) return false;
        rest.remove_prefix(1);
        return true;
    }

    void expect(char wanted) { ok = take(wanted) && ok; }

    std::optional<int> takeDigit() {
        if (rest.empty() || rest.front() < '0' || rest.front() > '9') return std::nullopt;
        const int digit = rest.front() - '0';
        rest.remove_prefix(1);
        return digit;
    }

    int number(int digits) {
        int value = 0;
        for (int i = 0; i < digits; ++i) {
            const std::optional<int> digit = takeDigit();
            ok = ok && digit.has_value();
            value = value * 10 + digit.value_or(0);
        }
        return value;
    }

    int numberUpTo(int digits, int limit) {
        const int value = number(digits);
        ok = ok && value <= limit;
        return value;
    }
};

std::chrono::sys_days readDay(Reader& text) {
    const int year = text.number(4);
    text.expect('-');
    const int month = text.number(2);
    text.expect('-');
    const int day = text.number(2);
    const auto date = std::chrono::year(year) / month / day;
    text.ok = text.ok && date.ok();
    return text.ok ? sys_days(date) : sys_days();
}

int readSecondOfDay(Reader& text) {
    const int hour = text.numberUpTo(2, 23);
    text.expect(':');
    const int minute = text.numberUpTo(2, 59);
    text.expect(':');
    const int second = text.numberUpTo(2, 59);
    return (hour * 60 + minute) * 60 + second;
}

double readFraction(Reader& text) {
    if (!text.take('.')) return 0;
    std::optional<int> digit = text.takeDigit();
    text.ok = text.ok && digit.has_value();
    double value = 0;
    for (double scale = 0.1; digit; scale /= 10, digit = text.takeDigit())
        value += *digit * scale;
    return value;
}

/// Seconds that the local time is ahead of UTC.
int readOffset(Reader& text) {
    if (text.take('Z')) return 0;
    const bool behind = text.take('-');
    if (!behind) text.expect('+');
    const int hours = text.numberUpTo(2, 23);
    text.expect(':');
    const int seconds = (hours * 60 + text.numberUpTo(2, 59)) * 60;
    return behind ? -seconds : seconds;
}

} // namespace

std::string iso8601(Date date, IsoPrecision precision) {
    const Milliseconds moment = toMilliseconds(date);
    const auto midnight = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day day(midnight);
    const std::chrono::hh_mm_ss time(moment - midnight);

    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    std::string result = text.data();
    if (precision == IsoPrecision::milliseconds) {
        std::snprintf(text.data(), text.size(), ".%03d", static_cast<int>(time.subseconds().count()));
        result += text.data();
    }
    return result + "Z";
}

std::optional<Date> parseIso8601(std::string_view text) {
    Reader reader{text};
    const std::chrono::sys_days day = readDay(reader);
    reader.expect('T');
    const int secondOfDay = readSecondOfDay(reader);
    const double fraction = readFraction(reader);
    const int offset = readOffset(reader);
    if (!reader.ok || !reader.rest.empty()) return std::nullopt;

    const std::chrono::sys_seconds moment = day + std::chrono::seconds(secondOfDay - offset);
    return Date::fromUnix(static_cast<double>(moment.time_since_epoch().count())) +
           std::chrono::duration_cast<Duration>(std::chrono::duration<double>(fraction));
}

} // namespace tavrin
