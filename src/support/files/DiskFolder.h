#pragma once

#include "support/files/Folder.h"

namespace tavrin {

/// The folder on the disk. Nothing is made before it is needed; makeFolders("") makes the root.
class DiskFolder final : public Folder {
public:
    /// `root` is absolute, else std::invalid_argument.
    explicit DiskFolder(std::filesystem::path root);

    std::uint64_t freeBytes() const override;
    std::filesystem::path location(std::string_view path) const override;

protected:
    std::unique_ptr<FileHandle> openHandle(std::string_view path, OpenMode mode) override;
    std::string readBytes(std::string_view path, std::uint64_t offset, std::uint64_t count) const override;
    std::optional<FileInfo> statEntry(std::string_view path) const override;
    std::vector<std::string> entryNames(std::string_view path) const override;
    void makeRoot() override;
    bool makeOneFolder(std::string_view path) override;
    void unlinkFile(std::string_view path) override;
    void removeEmptyFolder(std::string_view path) override;
    void renameEntry(std::string_view from, std::string_view to) override;
    void syncFolder(std::string_view path) override;

private:
    std::filesystem::path root;
};

} // namespace tavrin
