#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavrin {

/// Reads a buffer from end to end with plain sums: what a step that reads all its weights once can do at best.
class MemoryReader final {
public:
    MemoryReader(std::size_t bytes, int threads);

    /// Some passes over the buffer, all processors sharing each. Returns bytes per second.
    double measure();
    /// Median of what was measured.
    [[nodiscard]] double bytesPerSecond() const;

private:
    void readPart(std::size_t part);

    std::vector<std::uint64_t> buffer;
    /// One per thread, so that no sum is left out as unused.
    std::vector<std::uint64_t> sums;
    std::vector<double> measured;
};

} // namespace tavrin
