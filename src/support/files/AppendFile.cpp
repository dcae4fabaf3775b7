#include "support/files/AppendFile.h"

#include "support/files/FileError.h"
#include "support/log/Log.h"

#include <utility>

namespace tavrin {

namespace {
constexpr Logger log{"files"};
}

AppendFile::AppendFile(std::unique_ptr<FileHandle> open) : handle(std::move(open)) {}

void AppendFile::append(std::span<const std::byte> bytes) {
    std::size_t done = 0;
    try {
        while (done < bytes.size())
            done += handle->write(bytes.subspan(done));
    } catch (...) {
        if (done > 0) takeBack(done);
        throw;
    }
}

void AppendFile::append(std::string_view text) {
    append(std::as_bytes(std::span(text)));
}

void AppendFile::syncData() {
    handle->syncData();
}

void AppendFile::truncate(std::uint64_t size) {
    handle->truncate(size);
}

std::uint64_t AppendFile::size() const {
    return handle->size();
}

void AppendFile::takeBack(std::size_t count) noexcept {
    try {
        handle->truncate(handle->size() - count);
    } catch (const FileError& error) {
        log.error("part of a failed write stays: {}", error.what());
    }
}

} // namespace tavrin
