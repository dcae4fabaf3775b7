#pragma once

namespace tavrin {

/// Memory of this process in MB (10^6 bytes) as the kernel counts it. Throws std::runtime_error if it does not tell.
struct ProcessMemory {
    [[nodiscard]] static double resident();
    /// The most it was since the process began or `forgetPeak` was last called.
    [[nodiscard]] static double peak();
    static void forgetPeak();
};

} // namespace tavrin
