#pragma once

#include "support/time/Time.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>

namespace tavrin {

/// Tells from the times at which a lane hands over its chunks how many samples are missing between them. Chunks that
/// come all at once, as silence in place of lost sound does, count together.
/// Thread: any.
class DiagnosticsCaptureFrameCounter final {
public:
    struct Handoff {
        std::int64_t received = 0;  // samples of this chunk
        std::int64_t dropped = 0;   // samples short of the time since the chunk before
        double bufferFillRatio = 0; // of a quarter of a second, at most 1

        bool operator==(const Handoff&) const = default;
    };

    /// Absent for a chunk that counts with the next one.
    [[nodiscard]] std::optional<Handoff> count(std::size_t chunkBytes, SteadyInstant now);

    /// The next chunk is the first of a stretch: the time before it is no loss.
    void restart();

private:
    std::mutex mutex;
    // guarded
    std::optional<SteadyInstant> lastHandoffAt;
    std::int64_t notCounted = 0; // samples that came all at once since
};

} // namespace tavrin
