#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace tavrin {

/// An empty folder on the disk that goes with it.
class TemporaryFolder final {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "tavrin-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        where = name;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(where); }

    [[nodiscard]] const std::filesystem::path& path() const { return where; }

private:
    std::filesystem::path where;
};

} // namespace tavrin
