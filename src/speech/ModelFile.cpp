#include "speech/ModelFile.h"

#include "speech/SpeechError.h"
#include "support/files/DiskFolder.h"
#include "support/files/FileError.h"

namespace tavrin {

std::string readModelFile(const std::filesystem::path& file, std::size_t mostBytes) {
    try {
        const auto absolute = std::filesystem::absolute(file);
        return DiskFolder(absolute.parent_path()).read(absolute.filename().string(), mostBytes);
    } catch (const FileError& error) {
        throw SpeechError(error.what());
    }
}

Json parseModelJson(std::string_view text, const std::string& name) {
    try {
        return parseJson(text, name);
    } catch (const JsonError& error) {
        throw SpeechError(error.what());
    }
}

} // namespace tavrin
