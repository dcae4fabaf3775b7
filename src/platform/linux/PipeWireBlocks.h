#pragma once

#include "support/time/Time.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace tavrin {

/// Stereo sound on its way out of a real-time thread, in pieces of 20 ms or more.
/// Thread: one writer, which never waits, allocates or calls the system, and one reader. When the reader is more than
///         a second late sound is lost, and the next piece says so.
class PipeWireBlocks final {
public:
    static constexpr std::size_t channels = 2, capacity = 2048, count = 64;

    struct Block {
        std::uint32_t rate = 0;
        std::size_t frames = 0;
        SteadyInstant end;
        bool followsGap = false;
        std::array<float, capacity * channels> samples; ///< interleaved
    };

    /// Takes what one cycle gives; no samples stand for silence. True if there is something to read.
    bool write(const float* left, const float* right, std::size_t frames, std::uint32_t rate, SteadyInstant end);
    /// The next piece follows a gap. For the writer.
    void markGap() { gap = true; }

    /// The oldest piece, until pop(). None if there is none.
    [[nodiscard]] const Block* front() const;
    void pop();

    /// Drops everything, a piece that is half full included. While nobody writes or reads.
    void clear();

private:
    [[nodiscard]] Block* room();
    void publish();

    std::unique_ptr<std::array<Block, count>> blocks = std::make_unique<std::array<Block, count>>();
    std::atomic<std::size_t> written = 0, taken = 0;
    std::size_t filled = 0; ///< frames in the block that is being written
    bool gap = false;
};

} // namespace tavrin
