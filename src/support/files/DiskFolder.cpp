#include "support/files/DiskFolder.h"

#include "support/files/FileError.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace tavrin {

namespace {

constexpr mode_t fileMode = 0600;
constexpr mode_t folderMode = 0700;

/// Calls again while a signal interrupts, throws what else goes wrong.
template <class Call>
auto retried(Call call, const char* action, const std::string& path) -> decltype(call()) {
    for (;;) {
        const auto result = call();
        if (result >= 0) return result;
        if (errno != EINTR) throw FileError(errno, action, path);
    }
}

class Descriptor {
public:
    Descriptor(const std::string& path, int flags, const char* action)
        : number(retried([&] { return ::open(path.c_str(), flags | O_CLOEXEC, fileMode); }, action, path)) {}
    ~Descriptor() { ::close(number); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    operator int() const { return number; }

private:
    int number;
};

struct stat statusOf(int descriptor, const std::string& path) {
    struct stat status{};
    retried([&] { return ::fstat(descriptor, &status); }, "examine", path);
    return status;
}

/// Pipes and devices would block or lie about their size.
void requireRegularFile(int descriptor, const std::string& path, const char* action) {
    const mode_t mode = statusOf(descriptor, path).st_mode;
    if (S_ISDIR(mode)) throw FileError(EISDIR, action, path);
    if (!S_ISREG(mode)) throw FileError(EINVAL, action, path);
}

class DiskHandle final : public FileHandle {
public:
    DiskHandle(std::string filePath, int flags)
        : path(std::move(filePath)), descriptor(path, O_WRONLY | O_APPEND | O_NONBLOCK | flags, "open") {
        requireRegularFile(descriptor, path, "open");
    }

    std::size_t write(std::span<const std::byte> bytes) override {
        const ssize_t count = retried([&] { return ::write(descriptor, bytes.data(), bytes.size()); }, "write", path);
        if (count == 0 && !bytes.empty()) throw FileError(EIO, "write", path);
        return static_cast<std::size_t>(count);
    }
    void syncData() override {
        retried([&] { return ::fdatasync(descriptor); }, "sync", path);
    }
    std::uint64_t size() const override { return static_cast<std::uint64_t>(statusOf(descriptor, path).st_size); }
    void truncate(std::uint64_t size) override {
        retried([&] { return ::ftruncate(descriptor, static_cast<off_t>(size)); }, "shorten", path);
    }

private:
    std::string path;
    Descriptor descriptor;
};

void syncDirectory(const std::string& path) {
    const Descriptor folder(path, O_RDONLY | O_DIRECTORY, "open");
    // Some file systems know no sync of folders and say so.
    if (::fsync(folder) != 0 && errno != EINVAL && errno != ENOTSUP) throw FileError(errno, "sync", path);
}

bool makeDirectory(const std::string& path) {
    if (::mkdir(path.c_str(), folderMode) == 0) return true;
    const int error = errno;
    struct stat status{};
    if (error != EEXIST || ::stat(path.c_str(), &status) != 0) throw FileError(error, "make folder", path);
    if (!S_ISDIR(status.st_mode)) throw FileError(ENOTDIR, "make folder", path);
    return false;
}

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

} // namespace

DiskFolder::DiskFolder(std::filesystem::path top) : root(std::move(top)) {
    if (!root.is_absolute()) throw std::invalid_argument("not an absolute path: " + root.string());
}

std::uint64_t DiskFolder::freeBytes() const {
    std::filesystem::path existing = root;
    struct statvfs volume{};
    while (::statvfs(existing.c_str(), &volume) != 0) {
        if (errno == EINTR) continue;
        if (errno != ENOENT || existing == existing.parent_path()) throw FileError(errno, "measure", existing.string());
        existing = existing.parent_path();
    }
    return std::uint64_t{volume.f_bavail} * volume.f_frsize;
}

std::filesystem::path DiskFolder::location(std::string_view path) const {
    return path.empty() ? root : root / path;
}

std::unique_ptr<FileHandle> DiskFolder::openHandle(std::string_view path, OpenMode mode) {
    return std::make_unique<DiskHandle>(location(path).string(), mode == OpenMode::createNew ? O_CREAT | O_EXCL : 0);
}

std::string DiskFolder::readBytes(std::string_view path, std::uint64_t offset, std::uint64_t count) const {
    const std::string full = location(path).string();
    const Descriptor file(full, O_RDONLY | O_NONBLOCK, "read");
    requireRegularFile(file, full, "read");
    const auto size = static_cast<std::uint64_t>(statusOf(file, full).st_size);
    std::string bytes;
    if (offset >= size) return bytes;
    bytes.resize(std::min(count, size - offset));
    std::size_t done = 0;
    while (done < bytes.size()) {
        const auto at = static_cast<off_t>(offset + done);
        const ssize_t got =
            retried([&] { return ::pread(file, bytes.data() + done, bytes.size() - done, at); }, "read", full);
        if (got == 0) break; // shortened meanwhile
        done += static_cast<std::size_t>(got);
    }
    bytes.resize(done);
    return bytes;
}

std::optional<FileInfo> DiskFolder::statEntry(std::string_view path) const {
    const std::string full = location(path).string();
    struct stat status{};
    if (::stat(full.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
        throw FileError(errno, "examine", full);
    }
    const auto sinceEpoch =
        std::chrono::seconds(status.st_mtim.tv_sec) + std::chrono::nanoseconds(status.st_mtim.tv_nsec);
    const bool isFolder = S_ISDIR(status.st_mode);
    return FileInfo{isFolder, isFolder ? 0 : static_cast<std::uint64_t>(status.st_size),
                    std::chrono::system_clock::time_point(
                        std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceEpoch))};
}

std::vector<std::string> DiskFolder::entryNames(std::string_view path) const {
    const std::string full = location(path).string();
    const std::unique_ptr<DIR, FolderCloser> folder(::opendir(full.c_str()));
    if (!folder) throw FileError(errno, "list", full);
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(folder.get());
        if (entry == nullptr) break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    if (errno != 0) throw FileError(errno, "list", full);
    return names;
}

void DiskFolder::makeRoot() {
    std::filesystem::path made;
    for (const std::filesystem::path& name : root) {
        const std::filesystem::path parent = std::exchange(made, made / name);
        std::error_code ignored;
        if (std::filesystem::is_directory(made, ignored)) continue;
        if (makeDirectory(made.string())) syncDirectory(parent.string());
    }
}

bool DiskFolder::makeOneFolder(std::string_view path) {
    return makeDirectory(location(path).string());
}

void DiskFolder::unlinkFile(std::string_view path) {
    const std::string full = location(path).string();
    if (::unlink(full.c_str()) != 0) throw FileError(errno, "remove", full);
}

void DiskFolder::removeEmptyFolder(std::string_view path) {
    const std::string full = location(path).string();
    if (::rmdir(full.c_str()) != 0) throw FileError(errno, "remove", full);
}

void DiskFolder::renameEntry(std::string_view from, std::string_view to) {
    const std::string full = location(from).string();
    if (::rename(full.c_str(), location(to).c_str()) != 0) throw FileError(errno, "rename", full);
}

void DiskFolder::syncFolder(std::string_view path) {
    syncDirectory(location(path).string());
}

} // namespace tavrin
