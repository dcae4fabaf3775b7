#pragma once

#include "support/log/Log.h"

#include <memory>
#include <vector>

namespace tavrin {

/// Keeps the lines logged while it lives, for tests; nothing goes to the standard error stream meanwhile.
/// Two of them must end in the reverse order of their making.
class LogCapture final {
public:
    explicit LogCapture(LogLevel level = LogLevel::debug);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The lines so far, each as "category level: text".
    std::vector<std::string> lines() const;
    bool contains(std::string_view part) const;

private:
    struct Kept;

    std::shared_ptr<Kept> kept;
    LogLevel levelBefore;
    LogSink sinkBefore;
};

} // namespace tavrin
