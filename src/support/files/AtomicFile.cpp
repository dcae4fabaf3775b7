#include "support/files/AtomicFile.h"

#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/log/Log.h"

#include <unistd.h>

#include <atomic>

namespace tavrin {

namespace {

constexpr Logger log{"files"};
constexpr std::string_view prefix = ".~";
constexpr std::string_view suffix = ".tmp";

/// Unique among running processes; a crashed one may have left the same name behind.
std::string nextTemporary(std::string_view path) {
    static std::atomic<unsigned> counter{0};
    const std::string_view parent = Folder::parentOf(path);
    std::string result(parent);
    if (!parent.empty()) result += '/';
    result += prefix;
    result += std::to_string(getpid()) + "-" + std::to_string(counter++);
    result += suffix;
    return result;
}

} // namespace

AtomicFile::AtomicFile(Folder& owner, std::string_view target) : folder(owner), path(target) {
    Folder::checkEntry(path);
    while (!file) {
        temporary = nextTemporary(path);
        try {
            file = std::make_unique<AppendFile>(folder.openHandle(temporary, Folder::OpenMode::createNew));
        } catch (const FileError& error) {
            if (error.code() != std::errc::file_exists) throw;
        }
    }
}

AtomicFile::~AtomicFile() {
    if (isRenamed) return;
    file.reset();
    try {
        folder.unlinkFile(temporary);
    } catch (const FileError& error) {
        log.warning("temporary stays: {}", error.what());
    }
}

void AtomicFile::commit() {
    file->syncData();
    file.reset();
    folder.renameEntry(temporary, path);
    isRenamed = true;
    folder.syncFolder(Folder::parentOf(path));
}

bool AtomicFile::isTemporaryName(std::string_view name) {
    return name.starts_with(prefix) && name.ends_with(suffix);
}

} // namespace tavrin
