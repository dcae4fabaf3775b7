#include "support/log/LogCapture.h"

#include <algorithm>
#include <mutex>

namespace tavrin {

struct LogCapture::Kept {
    std::mutex mutex;
    std::vector<std::string> lines;
};

LogCapture::LogCapture(LogLevel level) : kept(std::make_shared<Kept>()), levelBefore(logLevel()) {
    sinkBefore = exchangeLogSink([into = kept](const LogLine& line) {
        const std::scoped_lock lock(into->mutex);
        into->lines.push_back(fmt::format("{} {}: {}", line.category, name(line.level), line.text));
    });
    setLogLevel(level);
}

LogCapture::~LogCapture() {
    setLogLevel(levelBefore);
    exchangeLogSink(std::move(sinkBefore));
}

std::vector<std::string> LogCapture::lines() const {
    const std::scoped_lock lock(kept->mutex);
    return kept->lines;
}

bool LogCapture::contains(std::string_view part) const {
    return std::ranges::any_of(lines(), [&](const std::string& line) { return line.contains(part); });
}

} // namespace tavrin
