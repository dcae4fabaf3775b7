#include "meeting/ModelCacheGuard.h"

#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/log/Log.h"

namespace tavrin {

namespace {

constexpr Logger logger{"ModelCacheGuard"};

} // namespace

void ModelCacheGuard::run() {
    std::uint64_t free = 0;
    try {
        free = caches.freeBytes();
    } catch (const FileError&) {
        return;
    }
    if (free < leastFreeBytes && clear())
        logger.info("Cleared Core ML E5 cache — disk had only {} MB free.", free / 1'000'000);
}

bool ModelCacheGuard::clear() {
    try {
        caches.removeTree(cacheName);
        return true;
    } catch (const FileError& error) {
        logger.warning("The cache of optimised models could not be removed: {}", error.what());
        return false;
    }
}

} // namespace tavrin
