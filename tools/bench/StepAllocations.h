#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

namespace tavrin {

/// What the engine's own code takes from the heap between the predictions of one window.
struct StepAllocations {
    /// Steps looked at, and the allocations in all of them.
    int steps = 0;
    std::uint64_t allocations = 0;
    /// Of these, steps in which the cache of keys and values grew, which binds its memory anew.
    int growths = 0;
    std::uint64_t growthAllocations = 0;
};

/// Decodes the beginning of `speech` as one window with the model in `pack`. Throws what the engine throws.
[[nodiscard]] StepAllocations countStepAllocations(const std::filesystem::path& pack, std::span<const float> speech,
                                                   bool wordTimestamps);

} // namespace tavrin
