#pragma once

#include "support/files/AppendFile.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

struct FileInfo {
    bool isFolder = false;
    std::uint64_t size = 0; // bytes, 0 for a folder
    std::chrono::system_clock::time_point modified;
};

/// The files below one root, as every store sees them: DiskFolder in the program, MemoryFolder in tests.
///
/// Paths are relative to the root, with "/" between names: "Recordings/a.pcm"; "" is the root itself. Absolute paths
/// and the names "." and ".." are refused, so nothing outside the root can be reached by a name from a file.
/// Files are made with mode 0600, folders with 0700.
/// Durability: when an operation that changes names returns (make, rename, remove, a new file, an atomic write), the
/// change survives a power cut. Content of an AppendFile survives only after its syncData().
/// Threads: any, also several at once; two writers of one file are the callers' affair.
/// Errors:  FileError with the full path and the reason, nothing else.
class Folder {
public:
    static constexpr std::uint64_t noLimit = std::numeric_limits<std::uint64_t>::max();

    virtual ~Folder() = default;
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    /// The whole file. One of more than `limit` bytes is refused with file_too_large and not read.
    std::string read(std::string_view path, std::uint64_t limit) const;
    /// Up to `count` bytes from `offset`; fewer, or none, where the file ends before.
    std::string readRange(std::string_view path, std::uint64_t offset, std::uint64_t count) const;
    /// Absent if nothing is there. Follows links.
    std::optional<FileInfo> info(std::string_view path) const;
    /// The names in a folder, sorted by bytes. Temporaries of atomic writes are left out.
    std::vector<std::string> list(std::string_view path) const;

    /// Makes the folder and those above it, the root included. What is there already is left as it is.
    void makeFolders(std::string_view path);
    /// Removes a file, a link or an empty folder. False if nothing was there.
    bool remove(std::string_view path);
    /// Removes a folder with all it holds, or a file. Links are removed, not followed. False if nothing was there.
    bool removeTree(std::string_view path);
    /// Moves a file or a folder. An existing file, or an empty folder by a folder, is replaced.
    void rename(std::string_view from, std::string_view to);

    /// Opens a file to write at its end and makes it if needed; its folder must exist.
    std::unique_ptr<AppendFile> openForAppend(std::string_view path);
    /// Replaces or makes the file as AtomicFile does; its folder must exist.
    void writeAtomically(std::string_view path, std::string_view bytes);
    /// Removes the temporaries that a crash left in a folder. Call it at start, before anything writes there.
    void removeTemporaries(std::string_view path);

    /// Bytes that this user may still write on the volume.
    virtual std::uint64_t freeBytes() const = 0;
    /// The full path, for messages and for libraries that open files themselves.
    virtual std::filesystem::path location(std::string_view path) const = 0;

    /// The folder of an entry: "a/b" of "a/b/c", "" of "c".
    static std::string_view parentOf(std::string_view path);

protected:
    Folder() = default;

    /// Both modes write at the end of the file only.
    enum class OpenMode { existing, createNew };

    // The single system calls, on checked paths. Each throws FileError; nothing is synced but by the sync calls.

    virtual std::unique_ptr<FileHandle> openHandle(std::string_view path, OpenMode mode) = 0;
    virtual std::string readBytes(std::string_view path, std::uint64_t offset, std::uint64_t count) const = 0;
    virtual std::optional<FileInfo> statEntry(std::string_view path) const = 0;
    virtual std::vector<std::string> entryNames(std::string_view path) const = 0;
    /// Makes the root's own parents and the root, durably.
    virtual void makeRoot() = 0;
    /// False if a folder is there already.
    virtual bool makeOneFolder(std::string_view path) = 0;
    /// Error is_a_directory for a folder.
    virtual void unlinkFile(std::string_view path) = 0;
    virtual void removeEmptyFolder(std::string_view path) = 0;
    virtual void renameEntry(std::string_view from, std::string_view to) = 0;
    virtual void syncFolder(std::string_view path) = 0;

private:
    friend class AtomicFile;

    static void checkPath(std::string_view path);
    /// The same for what cannot be done to the root.
    static void checkEntry(std::string_view path);
    void unlinkOrDescend(std::string_view path);
};

} // namespace tavrin
