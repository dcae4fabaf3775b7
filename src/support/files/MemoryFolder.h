#pragma once

#include "support/files/Folder.h"

#include <functional>
#include <mutex>

namespace tavrin {

/// A folder in memory that behaves as a disk does, and fails on demand. For tests of whatever keeps files.
///
/// Every change is a run of steps, one per system call. A fault hits a single step; a power cut may come between any
/// two, so a test can cut after 1, 2, 3, ... steps and look at each outcome. Names and contents become durable apart:
/// a file's bytes by its sync, its name, a rename or a removal by the sync of the folder.
class MemoryFolder final : public Folder {
public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;
    enum class Step { read, open, create, write, sync, truncate, makeFolder, remove, rename, syncFolder };

    /// What a power cut leaves of that which was not synced.
    struct PowerCut {
        /// True: the names as they were last. False: as they were at the last sync of each folder.
        bool namesSurvive = false;
        /// So many bytes behind the synced ones are left in each file.
        std::size_t unsyncedBytesSurvive = 0;
    };

    explicit MemoryFolder(Clock clock = std::chrono::system_clock::now);
    ~MemoryFolder() override;

    /// The disk holds so many bytes; a write beyond is cut short, then fails with ENOSPC. Absent: no limit.
    void limitCapacity(std::optional<std::uint64_t> bytes);
    /// One write takes no more than this.
    void limitWriteSize(std::size_t bytes);
    /// The next step of this kind fails with this errno value, once. Bytes whose sync failed can still be read but
    /// never reach the disk, whatever is synced afterwards: a power cut leaves zeros in their place.
    void failNext(Step step, int error);

    /// After so many more changing steps the power goes: they and all later ones fail with EIO until restart().
    void cutPowerAfter(std::size_t steps);
    /// The power is back, what was not synced is lost, files open before can no longer be used. Cuts it first if
    /// needed.
    void restart(PowerCut survives);
    /// Changing steps so far.
    std::size_t stepCount() const;

    std::uint64_t freeBytes() const override;
    std::filesystem::path location(std::string_view path) const override;

protected:
    std::unique_ptr<FileHandle> openHandle(std::string_view path, OpenMode mode) override;
    std::string readBytes(std::string_view path, std::uint64_t offset, std::uint64_t count) const override;
    std::optional<FileInfo> statEntry(std::string_view path) const override;
    std::vector<std::string> entryNames(std::string_view path) const override;
    void makeRoot() override {}
    bool makeOneFolder(std::string_view path) override;
    void unlinkFile(std::string_view path) override;
    void removeEmptyFolder(std::string_view path) override;
    void renameEntry(std::string_view from, std::string_view to) override;
    void syncFolder(std::string_view path) override;

private:
    struct Node;
    struct Place;
    struct Fault;
    class Handle;
    using NodePointer = std::shared_ptr<Node>;

    // All under the lock.
    void take(Step step, std::string_view path) const;
    NodePointer find(std::string_view path) const;
    NodePointer require(std::string_view path, const char* action) const;
    Place placeOf(std::string_view path, const char* action) const;
    std::uint64_t usedBytes() const;
    [[noreturn]] void fail(int error, std::string_view action, std::string_view path) const;

    mutable std::mutex mutex;
    Clock clock;
    NodePointer root;
    std::optional<std::uint64_t> capacity;
    std::size_t writeLimit;
    mutable std::vector<Fault> faults;
    mutable std::size_t steps = 0;
    mutable std::optional<std::size_t> stepsToPowerCut;
    unsigned generation = 0; // counts restarts: handles of an earlier one are dead
};

} // namespace tavrin
