#include "speech/ModelFolders.h"

#include <algorithm>
#include <array>
#include <string>
#include <system_error>

namespace tavrin {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view folderPrefix = "openai_whisper-";
constexpr std::array<std::string_view, 3> parts{"MelSpectrogram", "AudioEncoder", "TextDecoder"};
constexpr std::array<std::string_view, 3> forms{".onnx", ".mlmodelc", ".mlpackage"};
constexpr std::array<std::string_view, 2> earlierContainers{".var/app/so.tavrin.TavrinAssistant/data/OnDeviceModels",
                                                            ".var/app/so.nimbrel.LorvexAssistant/data/OnDeviceModels"};
constexpr int deepestSearch = 8;

bool isModelOf(const fs::path& folder, std::string_view variant) {
    return isFolderNameOf(folder.filename().string(), variant) && holdsModelParts(folder);
}

std::optional<fs::path> search(const fs::path& folder, std::string_view variant, int depth) {
    if (isModelOf(folder, variant)) return folder;
    if (depth == 0) return std::nullopt;
    std::error_code error;
    std::vector<fs::path> children;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_directory(ignored)) children.push_back(entry->path());
    }
    std::ranges::sort(children);
    for (const fs::path& child : children)
        if (auto found = search(child, variant, depth - 1)) return found;
    return std::nullopt;
}

} // namespace

bool holdsModelParts(const fs::path& folder) {
    return std::ranges::all_of(parts, [&](std::string_view part) {
        return std::ranges::any_of(forms, [&](std::string_view form) {
            std::error_code error;
            return fs::exists(folder / (std::string(part) + std::string(form)), error);
        });
    });
}

bool isFolderNameOf(std::string_view folderName, std::string_view variant) {
    if (!folderName.starts_with(folderPrefix)) return false;
    folderName.remove_prefix(folderPrefix.size());
    if (!folderName.starts_with(variant)) return false;
    folderName.remove_prefix(variant.size());
    return folderName.empty() || folderName.starts_with('_');
}

std::vector<fs::path> modelSearchRoots(const fs::path& applicationSupport, const fs::path& home) {
    std::vector<fs::path> roots{applicationSupport / "OnDeviceModels", applicationSupport / "WhisperModels"};
    for (const std::string_view container : earlierContainers)
        roots.push_back(home / container);
    return roots;
}

std::optional<fs::path> resolveModelFolder(std::string_view variant, const fs::path& storedPath,
                                           const std::vector<fs::path>& roots) {
    if (!storedPath.empty() && isModelOf(storedPath, variant)) return storedPath;
    for (const fs::path& root : roots)
        if (auto found = search(root, variant, deepestSearch)) return found;
    return std::nullopt;
}

} // namespace tavrin
