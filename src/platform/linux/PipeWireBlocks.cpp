#include "platform/linux/PipeWireBlocks.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace tavrin {

namespace {

constexpr std::uint32_t piecesPerSecond = 50;

Duration lasting(std::size_t frames, std::uint32_t rate) {
    return Duration(static_cast<Duration::rep>(frames) * 1'000'000'000 / static_cast<Duration::rep>(rate));
}

/// Streams are added up, so the sum may be louder than sound can be.
float limited(const float* samples, std::size_t index) {
    return samples == nullptr ? 0.0F : std::clamp(samples[index], -1.0F, 1.0F);
}

} // namespace

bool PipeWireBlocks::write(const float* left, const float* right, std::size_t frames, std::uint32_t rate,
                           SteadyInstant end) {
    if (rate == 0) return false;
    for (std::size_t done = 0; done < frames;) {
        Block* block = room();
        if (block != nullptr && filled > 0 && (block->rate != rate || filled == capacity || gap)) {
            publish();
            block = room();
        }
        if (block == nullptr) {
            gap = true;
            break;
        }
        if (filled == 0) block->followsGap = std::exchange(gap, false);
        const std::size_t part = std::min(frames - done, capacity - filled);
        for (std::size_t i = 0; i < part; ++i) {
            block->samples[(filled + i) * channels] = limited(left, done + i);
            block->samples[(filled + i) * channels + 1] = limited(right, done + i);
        }
        done += part;
        filled += part;
        block->rate = rate;
        block->end = end - lasting(frames - done, rate);
        block->frames = filled;
    }
    if (filled >= rate / piecesPerSecond) publish();
    return front() != nullptr;
}

const PipeWireBlocks::Block* PipeWireBlocks::front() const {
    const std::size_t next = taken.load(std::memory_order_acquire);
    return next == written.load(std::memory_order_acquire) ? nullptr : &(*blocks)[next % count];
}

void PipeWireBlocks::pop() {
    taken.fetch_add(1, std::memory_order_release);
}

void PipeWireBlocks::clear() {
    taken = written.load();
    filled = 0;
    gap = false;
}

PipeWireBlocks::Block* PipeWireBlocks::room() {
    const std::size_t next = written.load(std::memory_order_relaxed);
    return next - taken.load(std::memory_order_acquire) == count ? nullptr : &(*blocks)[next % count];
}

void PipeWireBlocks::publish() {
    written.fetch_add(1, std::memory_order_release);
    filled = 0;
}

} // namespace tavrin
