#include "audio/DiagnosticsCaptureFrameCounter.h"

#include "audio/PcmFormat.h"

#include <algorithm>
#include <utility>

namespace tavrin {

namespace {

/// A chunk that comes in less than this part of its length did not come from a device just now.
constexpr std::int64_t atOnce = 10;

} // namespace

std::optional<DiagnosticsCaptureFrameCounter::Handoff> DiagnosticsCaptureFrameCounter::count(std::size_t chunkBytes,
                                                                                             SteadyInstant now) {
    const std::scoped_lock lock(mutex);
    const auto samples = static_cast<std::int64_t>(chunkBytes / pcmBytesPerSample);
    const double elapsed = lastHandoffAt ? std::chrono::duration<double>(now - *lastHandoffAt).count() : 0;
    const auto expected = static_cast<std::int64_t>(elapsed * pcmSampleRate);
    if (lastHandoffAt && expected * atOnce < samples) {
        notCounted += samples;
        return std::nullopt;
    }
    lastHandoffAt = now;
    const std::int64_t received = samples + std::exchange(notCounted, 0);
    return Handoff{.received = received,
                   .dropped = std::max<std::int64_t>(expected - received, 0),
                   .bufferFillRatio = std::min(static_cast<double>(chunkBytes) / maxChunkBytes, 1.0)};
}

void DiagnosticsCaptureFrameCounter::restart() {
    const std::scoped_lock lock(mutex);
    lastHandoffAt.reset();
    notCounted = 0;
}

} // namespace tavrin
