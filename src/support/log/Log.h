#pragma once

#include <fmt/core.h>

#include <functional>
#include <string>
#include <string_view>

/// The program's log: one line an event, under the subsystem "so.tavrin.TavrinAssistant" with a category per service.
///
/// A promise to the user: no spoken word, no transcript, no window title and no token ever goes into a log line. Log
/// counts, sizes, states, error codes and ids.
///
/// Threads: everything here may be called from any thread; lines never mix.
/// Errors:  logging never throws. A line that cannot be formatted or written is dropped or replaced by a note of that.
/// Cost:    a line below the level costs one atomic load; its arguments are not formatted.
namespace tavrin {

enum class LogLevel { debug, info, warning, error, off };

std::string_view name(LogLevel level) noexcept;

/// The door to the log for one service. Make it a constant of the source file: `constexpr Logger log{"capture"};`
class Logger final {
public:
    /// `category` is a literal: it is kept as it is.
    constexpr explicit Logger(const char* category) noexcept : category(category) {}

    template <class... Arguments>
    void debug(fmt::format_string<Arguments...> text, Arguments&&... arguments) const noexcept {
        if (isOn(LogLevel::debug)) write(LogLevel::debug, text, fmt::make_format_args(arguments...));
    }
    template <class... Arguments>
    void info(fmt::format_string<Arguments...> text, Arguments&&... arguments) const noexcept {
        if (isOn(LogLevel::info)) write(LogLevel::info, text, fmt::make_format_args(arguments...));
    }
    template <class... Arguments>
    void warning(fmt::format_string<Arguments...> text, Arguments&&... arguments) const noexcept {
        if (isOn(LogLevel::warning)) write(LogLevel::warning, text, fmt::make_format_args(arguments...));
    }
    template <class... Arguments>
    void error(fmt::format_string<Arguments...> text, Arguments&&... arguments) const noexcept {
        if (isOn(LogLevel::error)) write(LogLevel::error, text, fmt::make_format_args(arguments...));
    }

    bool isOn(LogLevel level) const noexcept;

private:
    void write(LogLevel level, fmt::string_view text, fmt::format_args arguments) const noexcept;

    const char* category;
};

/// Lines below this level are dropped. `info` at start.
void setLogLevel(LogLevel level) noexcept;
LogLevel logLevel() noexcept;

/// How lines look on the standard error stream: with date and level for people, or with the "<N>" priority that the
/// journal reads. At start the program takes `journal` if the journal listens there, else `plain`.
enum class LogFormat { plain, journal };
void setLogFormat(LogFormat format);

/// True if `journalStream`, the value of JOURNAL_STREAM ("device:inode"), names the file behind this descriptor.
bool journalListens(std::string_view journalStream, int descriptor);

struct LogLine {
    LogLevel level = LogLevel::info;
    std::string category;
    std::string text;
};

/// Gets the lines in place of the standard error stream, one at a time, on the thread that logs. It must not log.
using LogSink = std::function<void(const LogLine&)>;

/// Installs a sink and gives back the one before; an empty one stands for the standard error stream.
LogSink exchangeLogSink(LogSink sink);

} // namespace tavrin
