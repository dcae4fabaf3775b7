#pragma once

#include "platform/AudioBuffer.h"
#include "support/time/Time.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tavrin {

/// Says how much silence a lane needs in front of a buffer, or how much is too many, so that its samples stay where the
/// clock says: both lanes of a meeting then lie on one time line, whatever their devices lost and however fast they
/// count.
///
/// Times of single buffers are late by whatever held them up, so a place is taken from the earliest of several buffers.
/// After the start and after a gap, buffers are to be held back for `settlingTime` until one is known. A device without
/// a clock of its own also wanders by some 15 ms for seconds at a time, so a lane is off only when several windows in a
/// row say so.
/// Thread: none of its own.
class LaneTimeline final {
public:
    static constexpr Duration settlingTime = std::chrono::milliseconds(300);
    static constexpr Duration longestSettling = std::chrono::seconds(10);
    /// A buffer later than this follows a gap, whether the device said so or not.
    static constexpr std::int64_t jump = 8'000; // half a second
    /// A lane that is off by less is left alone: two lanes are then no more than 40 ms apart.
    static constexpr std::int64_t tolerance = 192; // 12 ms
    /// A lane that is off by this is brought back at once, even where someone speaks.
    static constexpr std::int64_t mostDrift = 1'600; // 100 ms
    /// How long the earliest buffer is looked for while sound flows.
    static constexpr Duration window = std::chrono::seconds(4);
    /// So many windows in a row are off to the same side before the lane is.
    static constexpr std::size_t windowsThatAgree = 4;

    /// Sample 0 of the lane is what sounds at `origin`.
    explicit LaneTimeline(SteadyInstant origin) : start(origin) {}

    /// The buffer was over before the time line began.
    [[nodiscard]] bool isBefore(const AudioBuffer& buffer) const { return buffer.end <= start; }

    /// How many samples of 16 kHz the buffer's first frame lies behind where the lane stands, `ahead` samples of
    /// earlier buffers being held back.
    [[nodiscard]] std::int64_t lag(const AudioBuffer& buffer, std::int64_t ahead) const;

    /// Samples went into the lane, sound or silence; negative: were taken off again.
    void advance(double samples) { position += samples; }

    /// Looks at a buffer of steady sound; at the end of a window gives the samples that have been missing all through
    /// the last ones, negative for those that are too many, 0 for a lane that keeps time.
    std::optional<std::int64_t> drift(const AudioBuffer& buffer);

    /// The device came back or lost sound: what was seen so far says nothing any more.
    void forgetWindows();

private:
    SteadyInstant start;
    double position = 0; // samples of 16 kHz
    std::optional<SteadyInstant> windowEnd;
    std::int64_t earliest = 0;           ///< of the window that runs
    std::vector<std::int64_t> windows{}; ///< the earliest of each of the last ones
};

} // namespace tavrin
