#include "audio/LaneTimeline.h"

#include "audio/PcmFormat.h"

#include <algorithm>
#include <cmath>

namespace tavrin {

std::int64_t LaneTimeline::lag(const AudioBuffer& buffer, std::int64_t ahead) const {
    const double length = static_cast<double>(buffer.frames()) / buffer.format.sampleRate;
    const double begin = std::chrono::duration<double>(buffer.end - start).count() - length;
    return std::llround((begin * pcmSampleRate) - position) - ahead;
}

std::optional<std::int64_t> LaneTimeline::drift(const AudioBuffer& buffer) {
    const std::int64_t late = lag(buffer, 0);
    if (!windowEnd) {
        windowEnd = after(buffer.end, window);
        earliest = late;
        return std::nullopt;
    }
    earliest = std::min(earliest, late);
    if (buffer.end < *windowEnd) return std::nullopt;
    windowEnd.reset();
    if (std::abs(earliest) >= mostDrift) return earliest;
    if (windows.size() == windowsThatAgree) windows.erase(windows.begin());
    windows.push_back(earliest);
    if (windows.size() < windowsThatAgree) return 0;
    const auto [least, most] = std::ranges::minmax(windows);
    if (least > tolerance) return least;
    return most < -tolerance ? most : 0;
}

void LaneTimeline::forgetWindows() {
    windowEnd.reset();
    windows.clear();
}

} // namespace tavrin
