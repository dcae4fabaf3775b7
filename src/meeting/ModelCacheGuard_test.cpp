#include "meeting/ModelCacheGuard.h"
#include "support/files/MemoryFolder.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace tavrin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::string_view content = "optimised graph";

class ModelCacheGuardTest : public testing::Test {
protected:
    void fillCache(std::uint64_t freeBytes) {
        caches.limitCapacity(std::nullopt);
        caches.makeFolders("optimised-models");
        caches.writeAtomically("optimised-models/graph", content);
        caches.writeAtomically("other", "");
        caches.limitCapacity(freeBytes + content.size());
    }

    LogCapture logged;
    MemoryFolder caches;
    ModelCacheGuard guard{caches};
};

TEST_F(ModelCacheGuardTest, clears_the_cache_and_nothing_else_below_2_000_000_000_free_bytes) {
    fillCache(2'000'000'000);
    guard.run();
    EXPECT_THAT(caches.list(""), ElementsAre("optimised-models", "other"));
    EXPECT_THAT(logged.lines(), IsEmpty());
    fillCache(1'999'999'999);
    guard.run();
    EXPECT_THAT(caches.list(""), ElementsAre("other"));
    EXPECT_THAT(logged.lines(),
                ElementsAre("ModelCacheGuard info: Cleared Core ML E5 cache — disk had only 1999 MB free."));
}

TEST_F(ModelCacheGuardTest, nothing_to_remove_is_a_success_and_a_failed_removal_is_not_called_one) {
    EXPECT_TRUE(guard.clear());
    fillCache(0);
    caches.failNext(MemoryFolder::Step::remove, EACCES);
    guard.run();
    EXPECT_FALSE(logged.contains("Cleared"));
    caches.failNext(MemoryFolder::Step::remove, EACCES);
    EXPECT_FALSE(guard.clear());
    EXPECT_TRUE(guard.clear());
}

} // namespace
} // namespace tavrin
