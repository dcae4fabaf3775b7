#pragma once

#include "meeting/SpeechChunker.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
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
    static constexpr double sureLikeness = 0.8;

    /// The lane's next signed 16-bit little-endian samples, from its sample 0 on.
    void append(std::span<const std::byte> pcm);

    /// How well the levels of `samples`, whose first is the sample `first` of the same time line, follow those of the
    /// other side: their correlation, with the delay from -0.2 to 0.5 s that suits best. 1 is the same, 0 is nothing in
    /// common; 0 as well where the other side was silent, or the sound is shorter than half a second.
    [[nodiscard]] double likeness(std::span<const float> samples, std::int64_t first) const;

    /// Whether a chunk of the microphone is an echo and nothing else. `shift` is where the microphone's lane begins, in
    /// samples behind the beginning of the other side's.
    [[nodiscard]] bool isEcho(const SpeechChunk& chunk, std::int64_t shift = 0) const;

private:
    mutable std::mutex mutex;
    // guarded by the mutex
    std::deque<float> levels;    // dB of full scale
    std::int64_t firstLevel = 0; // the step of levels.front()
    double sumOfStep = 0;        // of squares
    std::size_t samplesOfStep = 0;
};

} // namespace tavrin
