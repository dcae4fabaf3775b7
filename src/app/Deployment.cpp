#include "app/Deployment.h"

#include "support/json/Json.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>

namespace tavrin {

namespace {

/// A text names a variant, null says that the role is not offered; without the key the built-in value stays.
void readVariant(const Json& models, std::string_view key, std::string_view source,
                 std::optional<std::string>& variant) {
    const Json* value = memberOf(models, key);
    if (value == nullptr) return;
    if (value->is_null()) {
        variant.reset();
        return;
    }
    const auto text = stringIn(*value);
    if (!text || text->empty() || text->contains('/'))
        throw DeploymentError(std::string(source) + ": \"" + std::string(key) + "\" is not the name of a model");
    variant = *text;
}

} // namespace

Deployment Deployment::parse(std::string_view json, std::string_view source) {
    Deployment deployment;
    try {
        const Json root = parseJson(json, source);
        if (!root.is_object()) throw DeploymentError(std::string(source) + ": is not an object");
        if (const Json* models = objectAt(root, "speechModels")) {
            readVariant(*models, "small", source, deployment.speechModels.smallVariant);
            readVariant(*models, "large", source, deployment.speechModels.largeVariant);
        }
        deployment.server = serverAddressesIn(root, source);
        deployment.vocabulary = vocabularySeedsIn(root, source);
    } catch (const JsonError& error) {
        throw DeploymentError(error.what());
    }
    return deployment;
}

Deployment Deployment::load(const std::filesystem::path& installed) {
    const char* named = std::getenv("TAVRIN_DEPLOYMENT"); // NOLINT(concurrency-mt-unsafe): before other threads start
    const std::filesystem::path path = named != nullptr && *named != '\0' ? std::filesystem::path(named) : installed;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        if (path == installed) return {};
        throw DeploymentError(path.string() + ": cannot be read");
    }
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return parse(text, path.string());
}

} // namespace tavrin
