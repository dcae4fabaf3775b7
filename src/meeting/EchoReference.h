#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <span>
#include <vector>

namespace tavrin {

/// Levels in dB of full scale, of 20 ms each, one behind the other; less than one at the end does not count.
std::vector<float> levelsOf(std::span<const float> samples);

/// How loud the other side was over the last minute: what the microphone's sound is held against.
///
/// What was said dies away by 4 dB in 20 ms and no faster, as in a dry room. Threads: append() on one at a time, the
/// rest on any.
class EchoReference final {
public:
    /// A level is that of 20 ms of sound.
    static constexpr std::size_t step = 320; // samples
    /// Levels lie closer than they are long, so that those of any delay fit the microphone's to 2.5 ms.
    static constexpr std::size_t hop = 80; // samples
    static constexpr float silence = -60;  // dB of full scale; nobody hears what is weaker

    /// The lane's next signed 16-bit little-endian samples, from its sample 0 on.
    void append(std::span<const std::byte> pcm);

    /// The levels of `count` steps in a row from about the sample `first` on: fewer where the last ones did not come
    /// yet, none where the first one is forgotten. Before sample 0 nothing sounds.
    [[nodiscard]] std::vector<float> levelsFrom(std::int64_t first, std::size_t count) const;

private:
    mutable std::mutex mutex;
    // guarded by the mutex
    std::deque<float> levels;                       // one for each hop
    std::int64_t firstLevel = 0;                    // the hop at which levels.front() begins
    std::array<double, step / hop> sumsOfSquares{}; // of the last hops, in turn
    std::int64_t samplesSoFar = 0;
};

} // namespace tavrin
