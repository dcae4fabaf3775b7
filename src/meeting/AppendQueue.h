#pragma once

#include "support/async/Task.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace tavrin {

class Folder;

/// Bytes on their way to the end of one file, for those who may not wait for a disk.
///
/// Order:    what is given is written in that order, at once as far as the disk allows, and synced within `syncDelay`.
/// Trouble:  while the disk refuses, bytes wait in memory and are tried again every second; what a failed sync may have
///           lost is written again. `onTrouble(true)` is told once, also when the disk hangs and more bytes come after
///           `patience`, and `onTrouble(false)` once everything is safe on the disk again.
/// Threads:  all operations from any thread; none waits for the disk. Tasks may be awaited anywhere.
/// Lifetime: folder and storage executor outlive it. What waits when it dies is tried once more by the executor; to be
///           sure await saved() before.
class AppendQueue final {
public:
    struct Options {
        /// Bytes that may wait in memory until they are synced; what would come on top is refused.
        std::size_t mostWaiting = 0;
        Duration syncDelay{};
        /// On the storage executor or where bytes are appended, one call at a time, perhaps once more after the queue's
        /// death: it owns what it needs, and waits for nothing.
        std::function<void(bool isInTrouble)> onTrouble;
    };

    static constexpr Duration retryDelay = std::chrono::seconds(1);
    static constexpr Duration patience = std::chrono::seconds(5);

    /// Looks up the size of the file, which need not exist; makes nothing. Throws FileError.
    AppendQueue(Folder& folder, std::string path, Executor& storage, Options options);
    ~AppendQueue();
    AppendQueue(const AppendQueue&) = delete;
    AppendQueue& operator=(const AppendQueue&) = delete;

    /// False, and nothing of it is taken, when too much waits already or the queue is closed.
    bool append(std::span<const std::byte> bytes);
    /// Zero bytes; they take no memory while they wait. False when the queue is closed.
    bool appendZeros(std::uint64_t count);

    /// Replaces the whole file, atomically; takes the place of all that was given before, written or not.
    void replace(std::string content);

    /// Drops what waits and removes the file. Later bytes begin a new one, unless the queue is `closed` for good.
    void remove(bool closed);

    /// Size of the file, what still waits included.
    [[nodiscard]] std::uint64_t size() const;

    /// What stands at `offset`, on the disk or still in memory: up to `count` bytes, none if the disk does not read.
    [[nodiscard]] Task<std::vector<std::byte>> read(std::uint64_t offset, std::uint64_t count);

    /// Ends when everything given before is written and synced: never, while the disk refuses.
    [[nodiscard]] Task<void> saved();

private:
    class State;
    std::shared_ptr<State> state;
};

} // namespace tavrin
