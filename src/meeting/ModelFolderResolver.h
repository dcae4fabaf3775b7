#pragma once

#include "meeting/ModelDeployment.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace tavrin {

class Preferences;

inline constexpr std::string_view largeModelFolderKey = "tavrin.whisperModelFolder";
inline constexpr std::string_view smallModelFolderKey = "tavrin.dictationWhisperModelFolder";
inline constexpr std::string_view speakerModelFolderKey = "tavrin.speakerModelFolder";

/// Finds the model folders on the disk: where the preference says, else by a search. What is found becomes the
/// preference; a model that is not found leaves its preference alone.
///
/// Thread:   main executor only: it reads and writes preferences. A search reads some folders' names.
/// Lifetime: `preferences` outlives it.
/// Errors:   none; a folder that cannot be read holds no model.
class ModelFolderResolver final {
public:
    using Path = std::filesystem::path;
    /// Finds the speaker models, given the stored path or an empty one.
    using SpeakerModelSearch = std::function<std::optional<Path>(const Path& stored)>;

    /// `searchRoots`: as modelSearchRoots() gives them. Without `speakerModels` the speaker models are not offered.
    ModelFolderResolver(Preferences& preferences, ModelDeployment deployment, std::vector<Path> searchRoots,
                        SpeakerModelSearch speakerModels = {});

    /// Absent when the model is not installed or its role not offered.
    std::optional<Path> smallModelFolder();
    std::optional<Path> largeModelFolder();
    std::optional<Path> speakerModelFolder();

    /// Looks for all of them and says whether every model that is offered was found.
    bool relinkFolders();

    [[nodiscard]] const ModelDeployment& deployment() const { return offered; }

private:
    std::optional<Path> speechModelFolder(const std::optional<std::string>& variant, std::string_view key);
    [[nodiscard]] Path stored(std::string_view key) const;
    void relink(std::string_view key, const std::optional<Path>& found);

    Preferences& preferences;
    ModelDeployment offered;
    std::vector<Path> roots;
    SpeakerModelSearch findSpeakerModels;
};

} // namespace tavrin
