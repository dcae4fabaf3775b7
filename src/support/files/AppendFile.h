#pragma once

#include "support/files/FileHandle.h"

#include <memory>
#include <string_view>

namespace tavrin {

/// A file that grows at its end. The name of a new file is safe on the disk when Folder::openForAppend returns, its
/// content only after syncData(). Closed on destruction, without a sync.
/// Threads: one at a time. One writer per file.
class AppendFile final {
public:
    explicit AppendFile(std::unique_ptr<FileHandle> open);

    /// All or nothing: throws FileError after taking back what was written of `bytes`, so that the same call can be
    /// made again later. (If even taking back fails, size() tells where the file ends.)
    void append(std::span<const std::byte> bytes);
    void append(std::string_view text);

    /// Returns when everything appended so far survives a power cut. Throws FileError.
    void syncData();

    /// Takes back everything behind the first `size` bytes. Throws FileError.
    void truncate(std::uint64_t size);

    /// Bytes, those of earlier sessions included. Throws FileError.
    std::uint64_t size() const;

private:
    void takeBack(std::size_t count) noexcept;

    std::unique_ptr<FileHandle> handle;
};

} // namespace tavrin
