#include "support/log/Log.h"

#include "support/files/ApplicationNames.h"

#include <fmt/format.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

namespace tavrin {

namespace {

/// The "<N>" of a level, as syslog numbers them.
class PriorityFlag final : public spdlog::custom_flag_formatter {
public:
    void format(const spdlog::details::log_msg& line, const std::tm&, spdlog::memory_buf_t& out) override {
        const char digit = line.level >= spdlog::level::err    ? '3'
                           : line.level == spdlog::level::warn ? '4'
                           : line.level == spdlog::level::info ? '6'
                                                               : '7';
        for (const char c : {'<', digit, '>'})
            out.push_back(c);
    }
    std::unique_ptr<spdlog::custom_flag_formatter> clone() const override { return std::make_unique<PriorityFlag>(); }
};

std::unique_ptr<spdlog::formatter> formatterFor(LogFormat format) {
    const std::string subsystem(applicationIdentifier);
    auto formatter = std::make_unique<spdlog::pattern_formatter>();
    formatter->add_flag<PriorityFlag>('*');
    if (format == LogFormat::journal)
        formatter->set_pattern("%*" + subsystem + " [%n] %v");
    else
        formatter->set_pattern("%Y-%m-%d %H:%M:%S.%e " + subsystem + " [%n] %l: %v");
    return formatter;
}

/// The one global of the program. Never destroyed: lines may come from destructors of statics.
struct LogState {
    LogState() {
        const char* stream = std::getenv("JOURNAL_STREAM");
        const bool isJournal = stream != nullptr && journalListens(stream, STDERR_FILENO);
        standardError.set_formatter(formatterFor(isJournal ? LogFormat::journal : LogFormat::plain));
    }

    std::mutex mutex;
    spdlog::sinks::stderr_sink_st standardError;
    LogSink sink;
};

std::atomic<LogLevel> currentLevel{LogLevel::info};

LogState& state() {
    static auto* const kept = new LogState;
    return *kept;
}

spdlog::level::level_enum spdlogLevel(LogLevel level) {
    constexpr std::array levels{spdlog::level::debug, spdlog::level::info, spdlog::level::warn, spdlog::level::err,
                                spdlog::level::off};
    return levels.at(static_cast<std::size_t>(level));
}

/// One event stays one line: control characters are shown as escapes.
std::string onOneLine(std::string text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    if (std::ranges::none_of(text, isControl)) return text;
    std::string result;
    for (const char c : text) {
        if (c == '\n')
            result += "\\n";
        else if (isControl(c))
            result += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        else
            result += c;
    }
    return result;
}

std::string formatted(fmt::string_view text, fmt::format_args arguments) {
    try {
        return onOneLine(fmt::vformat(text, arguments));
    } catch (const std::exception& error) {
        return onOneLine(fmt::format("(line not formatted: {}) {}", error.what(), text));
    }
}

} // namespace

std::string_view name(LogLevel level) noexcept {
    constexpr std::array<std::string_view, 5> names{"debug", "info", "warning", "error", "off"};
    return names[static_cast<std::size_t>(level)];
}

bool Logger::isOn(LogLevel level) const noexcept {
    return level >= currentLevel.load(std::memory_order_relaxed);
}

void Logger::write(LogLevel level, fmt::string_view text, fmt::format_args arguments) const noexcept {
    try {
        const std::string line = formatted(text, arguments);
        LogState& log = state();
        const std::scoped_lock lock(log.mutex);
        if (log.sink)
            log.sink({level, category, line});
        else
            log.standardError.log(spdlog::details::log_msg(category, spdlogLevel(level), line));
    } catch (...) { // NOLINT(bugprone-empty-catch): a log that cannot be written has nowhere to complain
    }
}

void setLogLevel(LogLevel level) noexcept {
    currentLevel.store(level, std::memory_order_relaxed);
}

LogLevel logLevel() noexcept {
    return currentLevel.load(std::memory_order_relaxed);
}

void setLogFormat(LogFormat format) {
    auto formatter = formatterFor(format);
    const std::scoped_lock lock(state().mutex);
    state().standardError.set_formatter(std::move(formatter));
}

bool journalListens(std::string_view journalStream, int descriptor) {
    struct stat file{};
    if (fstat(descriptor, &file) != 0) return false;
    std::array<char, 64> expected{};
    const auto end = fmt::format_to_n(expected.data(), expected.size(), "{}:{}", file.st_dev, file.st_ino);
    return journalStream == std::string_view(expected.data(), end.size);
}

LogSink exchangeLogSink(LogSink sink) {
    const std::scoped_lock lock(state().mutex);
    return std::exchange(state().sink, std::move(sink));
}

} // namespace tavrin
