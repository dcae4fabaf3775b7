#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tavrin {

/// An open file at the level of single system calls; what a kind of Folder implements. Stores use AppendFile and
/// AtomicFile. One thread at a time. Every operation throws FileError.
class FileHandle {
public:
    virtual ~FileHandle() = default;

    /// Writes at the end of the file, possibly fewer bytes than given. Says how many.
    virtual std::size_t write(std::span<const std::byte> bytes) = 0;
    /// Returns when all that was written has reached the disk.
    virtual void syncData() = 0;
    virtual std::uint64_t size() const = 0;
    virtual void truncate(std::uint64_t size) = 0;

protected:
    FileHandle() = default;
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
};

} // namespace tavrin
