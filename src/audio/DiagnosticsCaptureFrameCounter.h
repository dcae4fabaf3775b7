#pragma once

#include "support/time/Time.h"

#include <cstddef>
#include <cstdint>
#include <mutex>

namespace tavrin {

/// Tells from the times at which a lane hands over its chunks how many samples are missing between them.
/// Thread: any.
class DiagnosticsCaptureFrameCounter final {
public:
    struct Handoff {
        std::int64_t received = 0;  // samples of this chunk
        std::int64_t dropped = 0;   // samples short of the time since the chunk before
        double bufferFillRatio = 0; // of a quarter of a second, at most 1

        bool operator==(const Handoff&) const = default;
    };

    /// Of 16-bit samples, 16,000 a second.
    [[nodiscard]] Handoff count(std::size_t chunkBytes, SteadyInstant now);

    /// The next chunk is the first of a stretch: the time before it is no loss.
    void restart();

private:
    std::mutex mutex;
    std::optional<SteadyInstant> lastHandoffAt; // guarded
};

} // namespace tavrin
