#include "meeting/MeetingDates.h"

#include <array>
#include <ctime>

namespace tavrin {

namespace {

std::string formatted(Date date, const char* format) {
    const auto seconds = static_cast<std::time_t>(date.unix());
    std::tm local{};
    if (localtime_r(&seconds, &local) == nullptr) return {};
    std::array<char, 128> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), format, &local);
    return {text.data(), length};
}

} // namespace

std::string meetingDateText(Date start) {
    return formatted(start, "%A %-d %B %Y · started %H:%M");
}

std::string defaultMeetingTitle(Date start) {
    return formatted(start, "Meeting %-d %B %Y, %H:%M");
}

} // namespace tavrin
