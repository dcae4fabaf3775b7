#pragma once

#include "support/time/Time.h"

#include <algorithm>
#include <optional>

namespace tavrin {

/// How long a meeting has been recorded, pauses left out. A plain value, by the wall clock.
class ActiveTime final {
public:
    void open(Date now) { currentSegmentStartedAt = now; }
    /// Ends the running stretch; does nothing when none runs.
    void closeActiveStretch(Date now) {
        if (currentSegmentStartedAt) accumulatedActiveDuration += now.secondsSince(*currentSegmentStartedAt);
        currentSegmentStartedAt.reset();
    }
    /// Seconds, never negative.
    [[nodiscard]] double seconds(Date now, bool isCapturing) const {
        double total = accumulatedActiveDuration;
        if (isCapturing && currentSegmentStartedAt) total += now.secondsSince(*currentSegmentStartedAt);
        return std::max(total, 0.0);
    }

    double accumulatedActiveDuration = 0; // seconds of closed stretches
    std::optional<Date> currentSegmentStartedAt;
};

} // namespace tavrin
