#include "meeting/TranscriptExport.h"

#include "meeting/MeetingDates.h"
#include "support/text/Unicode.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

namespace tavrin {

namespace {

// Reading takes between these, in characters a second; a cue stays at least and at most so many seconds.
constexpr double slowReading = 12;
constexpr double fastReading = 25;
constexpr double shortestCue = 1;
constexpr double slack = 1.5;
constexpr double longestFile = 99 * 3600 + 3599; // what the format can say

/// The nearest moment that a calendar can name.
Date sound(Date date) {
    constexpr double furthest = 1e11; // seconds; beyond this nothing is a moment of a meeting
    return Date::fromUnix(std::isfinite(date.unix()) ? std::clamp(date.unix(), -furthest, furthest) : 0);
}

std::string formatted(Date date, const char* format) {
    const auto moment = static_cast<std::time_t>(std::floor(sound(date).unix()));
    std::tm local{};
    localtime_r(&moment, &local);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &local)};
}

/// One line of valid text without control characters.
std::string oneLine(std::string_view text) {
    std::string result;
    const std::string valid = repairedUtf8(text);
    for (std::size_t at = 0; at < valid.size();) {
        const char32_t code = nextCodePoint(valid, at);
        const bool blank = isWhiteSpace(code);
        if (blank && (result.empty() || result.back() == ' ')) continue;
        if (blank)
            result += ' ';
        else if (code >= 0x20 && code != 0x7F)
            appendUtf8(result, code);
    }
    return std::string(trimmed(result));
}

/// What would be read as markup gets a backslash: some characters anywhere, some at the beginning of a line.
std::string escapedMarkdown(std::string_view raw) {
    const std::string text = oneLine(raw);
    std::string result;
    for (const char each : text) {
        if (std::string_view("\\`*_[]<>|~&").contains(each)) result += '\\';
        result += each;
    }
    const std::size_t digits = result.find_first_not_of("0123456789");
    const bool list = digits != std::string::npos && digits > 0 && (result[digits] == '.' || result[digits] == ')');
    if (list)
        result.insert(digits, 1, '\\');
    else if (!result.empty() && std::string_view("#+-=:").contains(result.front()))
        result.insert(0, 1, '\\');
    return result;
}

std::string markdown(std::string_view title, Date start, std::span<const TranscriptSegment> lines) {
    std::string result =
        fmt::format("# {}\n\n{}\n", title.empty() ? defaultMeetingTitle(start) : escapedMarkdown(title),
                    escapedMarkdown(meetingDateText(start)));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i == 0 || !sharesCaption(lines[i - 1], lines[i]))
            result +=
                fmt::format("\n**{}** {}\n", escapedMarkdown(lines[i].speakerLabel), transcriptTime(lines[i].date));
        result += fmt::format("\n{}\n", escapedMarkdown(lines[i].text));
    }
    return result;
}

std::string plain(std::string_view title, Date start, std::span<const TranscriptSegment> lines) {
    std::string result =
        fmt::format("{}\n{}\n", title.empty() ? defaultMeetingTitle(start) : oneLine(title), meetingDateText(start));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i == 0 || !sharesCaption(lines[i - 1], lines[i]))
            result += fmt::format("\n{} {}\n", oneLine(lines[i].speakerLabel), transcriptTime(lines[i].date));
        result += oneLine(lines[i].text) + '\n';
    }
    return result;
}

double offsetOf(const TranscriptSegment& line, Date start) {
    const double seconds = line.date.secondsSince(start);
    return std::isfinite(seconds) ? std::clamp(seconds, 0.0, longestFile) : 0;
}

std::string cueTime(double seconds) {
    const auto all = std::llround(seconds * 1000);
    return fmt::format("{:02}:{:02}:{:02},{:03}", all / 3'600'000, all / 60'000 % 60, all / 1000 % 60, all % 1000);
}

/// Lines stay in their order, also where a line's own time is before that of the one above.
std::string subtitles(Date start, std::span<const TranscriptSegment> lines) {
    std::string result;
    double from = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        from = std::max(from, offsetOf(lines[i], start));
        std::string text = fmt::format("{}: {}", oneLine(lines[i].speakerLabel), oneLine(lines[i].text));
        for (std::size_t arrow = text.find("-->"); arrow != std::string::npos; arrow = text.find("-->", arrow))
            text.replace(arrow, 3, "→"); // the format's own mark
        const auto length = double(characterCount(text));
        const double least = std::max(shortestCue, length / fastReading);
        const double most = length / slowReading + slack;
        const double next = i + 1 < lines.size() ? std::max(from, offsetOf(lines[i + 1], start)) - from : most;
        const double to = from + std::max(least, std::min(next, most));
        result += fmt::format("{}\n{} --> {}\n{}\n\n", i + 1, cueTime(from), cueTime(to), text);
    }
    return result;
}

} // namespace

bool sharesCaption(const MeetingSegmentDraft& before, const MeetingSegmentDraft& line) {
    return before.speakerLabel == line.speakerLabel && isMeLine(before) == isMeLine(line);
}

std::string transcriptTime(Date date) {
    return formatted(date, "%H:%M:%S");
}

std::string transcriptFileName(std::string_view title, Date start, TranscriptFormat format) {
    constexpr std::size_t longest = 120; // bytes; file systems take 255, and a temporary's name is longer
    std::string name = formatted(start, "%Y-%m-%d") + ' ';
    const std::string wanted = oneLine(title.empty() ? "Meeting" : title);
    for (const std::string_view character : characters(wanted)) {
        if (name.size() + character.size() > longest) break;
        name += std::string_view("/\\:*?\"<>|").contains(character.front()) ? "-" : character;
    }
    while (name.ends_with(' ') || name.ends_with('.'))
        name.pop_back();
    constexpr std::array endings{".txt", ".md", ".srt"};
    return name + endings.at(static_cast<std::size_t>(format));
}

std::string exportTranscript(std::string_view title, Date start, std::span<const TranscriptSegment> lines,
                             TranscriptFormat format) {
    switch (format) {
    case TranscriptFormat::text:
        return plain(title, sound(start), lines);
    case TranscriptFormat::markdown:
        return markdown(title, sound(start), lines);
    case TranscriptFormat::srt:
        return subtitles(start, lines);
    }
    return {};
}

} // namespace tavrin
