#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tavrin {

/// How the diagnostics learn of memory. Thread: one at a time; reads take microseconds.
struct DiagnosticsMemory {
    /// What this process has resident, in MB of 1,048,576 bytes; -1 if it cannot be told.
    std::function<double()> residentMB;
    /// How short of memory the computer is: "normal", "warning" or "critical"; absent where the kernel does not tell.
    std::function<std::optional<std::string>()> pressureLevel;

    /// As the kernel tells it of this process and computer.
    static DiagnosticsMemory ofThisProcess();

    // The kernel's texts, read. Pure.

    static double residentMBOf(std::string_view statm, long pageBytes);
    /// From the share of the last ten seconds in which work stood still for lack of memory: "warning" from a tenth of
    /// the time for some of it, "critical" from a tenth for all of it.
    static std::optional<std::string> levelOf(std::string_view pressure);
};

} // namespace tavrin
