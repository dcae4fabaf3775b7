#include "support/files/Folder.h"

#include "support/files/AtomicFile.h"
#include "support/files/FileError.h"

#include <algorithm>
#include <cerrno>

namespace tavrin {

namespace {

bool isMissing(const FileError& error) {
    return error.code() == std::errc::no_such_file_or_directory || error.code() == std::errc::not_a_directory;
}

std::string below(std::string_view folder, std::string_view name) {
    std::string result(folder);
    if (!result.empty()) result += '/';
    result += name;
    return result;
}

} // namespace

std::string_view Folder::parentOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view{} : path.substr(0, slash);
}

void Folder::checkPath(std::string_view path) {
    const auto refuse = [&] { throw FileError(EINVAL, "use the name", path); };
    if (path.contains('\0')) refuse();
    for (std::size_t begin = 0; !path.empty() && begin <= path.size();) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string_view name = path.substr(begin, end - begin);
        if (name.empty() || name == "." || name == "..") refuse();
        begin = end + 1;
    }
}

void Folder::checkEntry(std::string_view path) {
    checkPath(path);
    if (path.empty()) throw FileError(EBUSY, "replace or remove", "the root");
}

std::string Folder::read(std::string_view path, std::uint64_t limit) const {
    checkPath(path);
    const std::optional<FileInfo> file = statEntry(path);
    if (file && file->size > limit) throw FileError(EFBIG, "read", location(path).string());
    std::string bytes = readBytes(path, 0, limit == noLimit ? limit : limit + 1);
    if (bytes.size() > limit) throw FileError(EFBIG, "read", location(path).string());
    return bytes;
}

std::string Folder::readRange(std::string_view path, std::uint64_t offset, std::uint64_t count) const {
    checkPath(path);
    return readBytes(path, offset, count);
}

std::optional<FileInfo> Folder::info(std::string_view path) const {
    checkPath(path);
    return statEntry(path);
}

std::vector<std::string> Folder::list(std::string_view path) const {
    checkPath(path);
    std::vector<std::string> names = entryNames(path);
    std::erase_if(names, AtomicFile::isTemporaryName);
    std::ranges::sort(names);
    return names;
}

void Folder::makeFolders(std::string_view path) {
    checkPath(path);
    makeRoot();
    for (std::size_t end = 0; end < path.size(); ++end) {
        end = std::min(path.find('/', end), path.size());
        const std::string_view folder = path.substr(0, end);
        if (makeOneFolder(folder)) syncFolder(parentOf(folder));
    }
}

bool Folder::remove(std::string_view path) {
    checkEntry(path);
    try {
        unlinkFile(path);
    } catch (const FileError& error) {
        if (isMissing(error)) return false;
        if (error.code() != std::errc::is_a_directory) throw;
        removeEmptyFolder(path);
    }
    syncFolder(parentOf(path));
    return true;
}

bool Folder::removeTree(std::string_view path) {
    checkEntry(path);
    try {
        unlinkOrDescend(path);
    } catch (const FileError& error) {
        if (isMissing(error)) return false;
        throw;
    }
    syncFolder(parentOf(path));
    return true;
}

void Folder::unlinkOrDescend(std::string_view path) {
    try {
        unlinkFile(path);
    } catch (const FileError& error) {
        if (error.code() != std::errc::is_a_directory) throw;
        for (const std::string& name : entryNames(path))
            unlinkOrDescend(below(path, name));
        removeEmptyFolder(path);
    }
}

void Folder::rename(std::string_view from, std::string_view to) {
    checkEntry(from);
    checkEntry(to);
    renameEntry(from, to);
    syncFolder(parentOf(to));
    if (parentOf(from) != parentOf(to)) syncFolder(parentOf(from));
}

std::unique_ptr<AppendFile> Folder::openForAppend(std::string_view path) {
    checkPath(path);
    try {
        return std::make_unique<AppendFile>(openHandle(path, OpenMode::existing));
    } catch (const FileError& error) {
        if (error.code() != std::errc::no_such_file_or_directory) throw;
    }
    auto file = std::make_unique<AppendFile>(openHandle(path, OpenMode::createNew));
    syncFolder(parentOf(path));
    return file;
}

void Folder::writeAtomically(std::string_view path, std::string_view bytes) {
    AtomicFile file(*this, path);
    file.append(bytes);
    file.commit();
}

void Folder::removeTemporaries(std::string_view path) {
    checkPath(path);
    bool removedAny = false;
    for (const std::string& name : entryNames(path)) {
        if (!AtomicFile::isTemporaryName(name)) continue;
        unlinkFile(below(path, name));
        removedAny = true;
    }
    if (removedAny) syncFolder(path);
}

} // namespace tavrin
