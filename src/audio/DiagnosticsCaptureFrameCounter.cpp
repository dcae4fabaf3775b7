#include "audio/DiagnosticsCaptureFrameCounter.h"

#include <algorithm>
#include <utility>

namespace tavrin {

namespace {

constexpr double samplesPerSecond = 16'000;
constexpr double fullBufferBytes = 8'000;

} // namespace

DiagnosticsCaptureFrameCounter::Handoff DiagnosticsCaptureFrameCounter::count(std::size_t chunkBytes,
                                                                              SteadyInstant now) {
    std::optional<SteadyInstant> previous;
    {
        const std::scoped_lock lock(mutex);
        previous = std::exchange(lastHandoffAt, now);
    }
    Handoff handoff{.received = static_cast<std::int64_t>(chunkBytes / 2),
                    .bufferFillRatio = std::min(static_cast<double>(chunkBytes) / fullBufferBytes, 1.0)};
    if (previous) {
        const double elapsed = std::chrono::duration<double>(now - *previous).count();
        const auto expected = static_cast<std::int64_t>(elapsed * samplesPerSecond);
        handoff.dropped = std::max<std::int64_t>(expected - handoff.received, 0);
    }
    return handoff;
}

void DiagnosticsCaptureFrameCounter::restart() {
    const std::scoped_lock lock(mutex);
    lastHandoffAt.reset();
}

} // namespace tavrin
