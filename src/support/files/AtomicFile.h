#pragma once

#include "support/files/AppendFile.h"

#include <string>
#include <string_view>

namespace tavrin {

class Folder;

/// Replaces a file as a whole: whoever reads it, even after a power cut at any moment, finds the old bytes or the new
/// ones, never a mixture. Writes a temporary in the same folder; commit() syncs it, renames it and syncs the folder.
/// Without commit() nothing changes and the temporary is removed. All operations throw FileError.
/// Threads: one at a time. `folder` outlives it.
class AtomicFile final {
public:
    AtomicFile(Folder& folder, std::string_view path);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    void append(std::span<const std::byte> bytes) { file->append(bytes); }
    void append(std::string_view text) { file->append(text); }

    /// Once, as the last call. After it returns the new content survives a power cut.
    void commit();

    /// True for the names that temporaries get.
    static bool isTemporaryName(std::string_view name);

private:
    Folder& folder;
    std::string path;
    std::string temporary;
    std::unique_ptr<AppendFile> file;
    bool isRenamed = false;
};

} // namespace tavrin
