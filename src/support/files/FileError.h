#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace tavrin {

/// A file operation that failed: what was tried, on which path, and the system's reason.
/// `code()` compares with std::errc (no_such_file_or_directory, no_space_on_device, file_too_large, ...).
class FileError final : public std::system_error {
public:
    /// `error` is an errno value; `action` completes "cannot ...": "write", "rename".
    FileError(int error, std::string_view action, std::string_view path)
        : std::system_error(error, std::generic_category(), "cannot " + std::string(action) + " " + std::string(path)),
          where(path) {}

    const std::string& path() const noexcept { return where; }

private:
    std::string where;
};

} // namespace tavrin
