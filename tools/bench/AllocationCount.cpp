#include "bench/AllocationCount.h"

#include <cstdlib>
#include <new>

namespace tavrin {

namespace {

thread_local std::uint64_t allocations = 0;
thread_local int pauses = 0;

void count() noexcept {
    if (pauses == 0) ++allocations;
}

} // namespace

std::uint64_t AllocationCount::ofThisThread() noexcept {
    return allocations;
}

AllocationCount::Pause::Pause() noexcept {
    ++pauses;
}

AllocationCount::Pause::~Pause() {
    --pauses;
}

} // namespace tavrin

// The linker sends this program's own calls here (--wrap) and gives the real ones under the other name.
// NOLINTBEGIN(bugprone-reserved-identifier): the linker chooses the names
extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_calloc(std::size_t count, std::size_t bytes);
void* __real_realloc(void* memory, std::size_t bytes);

void* __wrap_malloc(std::size_t bytes);
void* __wrap_calloc(std::size_t count, std::size_t bytes);
void* __wrap_realloc(void* memory, std::size_t bytes);

void* __wrap_malloc(std::size_t bytes) {
    tavrin::count();
    return __real_malloc(bytes);
}

void* __wrap_calloc(std::size_t count, std::size_t bytes) {
    tavrin::count();
    return __real_calloc(count, bytes);
}

void* __wrap_realloc(void* memory, std::size_t bytes) {
    tavrin::count();
    return __real_realloc(memory, bytes);
}
}
// NOLINTEND(bugprone-reserved-identifier)

// The forms for arrays and without exceptions call these two.

void* operator new(std::size_t bytes) {
    tavrin::count();
    if (void* memory = __real_malloc(bytes == 0 ? 1 : bytes)) return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t bytes, std::align_val_t alignment) {
    tavrin::count();
    const auto step = static_cast<std::size_t>(alignment);
    if (void* memory = std::aligned_alloc(step, (bytes + step - 1) / step * step)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
