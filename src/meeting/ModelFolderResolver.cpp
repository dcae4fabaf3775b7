#include "meeting/ModelFolderResolver.h"

#include "platform/Preferences.h"
#include "speech/ModelFolders.h"

#include <utility>

namespace tavrin {

ModelFolderResolver::ModelFolderResolver(Preferences& usersPreferences, ModelDeployment deployment,
                                         std::vector<Path> searchRoots, SpeakerModelSearch speakerModels)
    : preferences(usersPreferences), offered(std::move(deployment)), roots(std::move(searchRoots)),
      findSpeakerModels(std::move(speakerModels)) {}

std::optional<ModelFolderResolver::Path> ModelFolderResolver::smallModelFolder() {
    return speechModelFolder(offered.smallVariant, smallModelFolderKey);
}

std::optional<ModelFolderResolver::Path> ModelFolderResolver::largeModelFolder() {
    return speechModelFolder(offered.largeVariant, largeModelFolderKey);
}

std::optional<ModelFolderResolver::Path> ModelFolderResolver::speakerModelFolder() {
    if (!findSpeakerModels) return std::nullopt;
    auto found = findSpeakerModels(stored(speakerModelFolderKey));
    relink(speakerModelFolderKey, found);
    return found;
}

bool ModelFolderResolver::relinkFolders() {
    const bool hasLarge = largeModelFolder().has_value() || !offered.largeVariant;
    const bool hasSmall = smallModelFolder().has_value() || !offered.smallVariant;
    const bool hasSpeakers = speakerModelFolder().has_value() || !findSpeakerModels;
    return hasLarge && hasSmall && hasSpeakers;
}

std::optional<ModelFolderResolver::Path>
ModelFolderResolver::speechModelFolder(const std::optional<std::string>& variant, std::string_view key) {
    if (!variant) return std::nullopt;
    auto found = resolveModelFolder(*variant, stored(key), roots);
    relink(key, found);
    return found;
}

ModelFolderResolver::Path ModelFolderResolver::stored(std::string_view key) const {
    return preferences.string(key).value_or("");
}

void ModelFolderResolver::relink(std::string_view key, const std::optional<Path>& found) {
    if (found && *found != stored(key)) preferences.set(key, found->string());
}

} // namespace tavrin
