#pragma once

#include "meeting/SpeechChunker.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <span>

namespace tavrin {

/// How loud the other side was, in steps of 20 ms over the last minute: what the microphone's sound is held against.
///
/// A microphone that hears nothing but the loudspeaker rises and falls with it, however much weaker, and a little
/// later. Threads: append() on one at a time, the rest on any.
class EchoReference final {
public:
    static constexpr std::size_t step = 320; // samples
    /// From here on a sound is an echo and nothing else.
    static constexpr double sureLikeness = 0.7;
    /// From here on it may be one: words that the other side said at that very time are no words of the user's.
    static constexpr double someLikeness = 0.5;

    /// The lane's next signed 16-bit little-endian samples, from its sample 0 on.
    void append(std::span<const std::byte> pcm);

    /// How surely the levels of `samples`, whose first is the sample `first` of the same time line, follow those of the
    /// other side where both can be heard, with the delay from -0.2 to 0.5 s that suits best: their correlation, less
    /// what chance may do in so few steps. 1 is the same, 0 is nothing in common; 0 as well where more than a tenth of
    /// a second sounds while the other side is silent. Where a sure echo came before, it is at least `someLikeness`
    /// if the plain correlation at that delay is, or if 0.3 s or less sound, which are too short to tell.
    [[nodiscard]] double likeness(std::span<const float> samples, std::int64_t first) const;

    /// The same for a chunk of the microphone. `shift` is where its lane begins, in samples behind the beginning of the
    /// other side's.
    [[nodiscard]] double likeness(const SpeechChunk& chunk, std::int64_t shift) const;
    /// Whether the chunk is an echo and nothing else.
    [[nodiscard]] bool isEcho(const SpeechChunk& chunk, std::int64_t shift = 0) const {
        return likeness(chunk, shift) >= sureLikeness;
    }

private:
    mutable std::mutex mutex;
    // guarded by the mutex
    std::deque<float> levels;    // dB of full scale
    std::int64_t firstLevel = 0; // the step of levels.front()
    double sumOfStep = 0;        // of squares
    std::size_t samplesOfStep = 0;
    mutable std::optional<std::int64_t> knownDelay; // of the last sure echo, in steps
};

} // namespace tavrin
