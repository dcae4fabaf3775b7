#pragma once

#include <cstdint>

namespace tavrin {

/// Counts what the calling thread takes from the heap: `new` of any form, and malloc, calloc and realloc of the code
/// linked into this program. Libraries' own malloc calls are not seen.
class AllocationCount final {
public:
    [[nodiscard]] static std::uint64_t ofThisThread() noexcept;

    /// While one lives, its thread's allocations do not count.
    class Pause final {
    public:
        Pause() noexcept;
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
    };
};

} // namespace tavrin
