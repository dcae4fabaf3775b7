#pragma once

#include <cstdint>
#include <string_view>

namespace tavrin {

class Folder;

/// Watches over the models' cache of optimised graphs: one that was written onto a full disk is broken, and a broken
/// one makes loads fail that would work without it.
///
/// Thread:   any, also several at once.
/// Lifetime: `caches`, the program's cache folder, outlives it.
/// Errors:   none are thrown.
class ModelCacheGuard final {
public:
    /// Free bytes below which the cache is cleared before a load.
    static constexpr std::uint64_t leastFreeBytes = 2'000'000'000;
    /// The cache, within the program's cache folder.
    static constexpr std::string_view cacheName = "optimised-models";

    explicit ModelCacheGuard(Folder& programCaches) : caches(programCaches) {}

    /// Before a load: clears the cache when the disk is nearly full. Does nothing when that cannot be told.
    void run();

    /// Removes the cache. False when that failed; nothing to remove is a success.
    bool clear();

private:
    Folder& caches;
};

} // namespace tavrin
