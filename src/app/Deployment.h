#pragma once

#include "meeting/ModelDeployment.h"
#include "server/DeploymentValues.h"

#include <filesystem>
#include <string_view>

namespace tavrin {

/// What whoever installs the program decides: one JSON file beside it, "deployment.json". A plain value.
struct Deployment {
    ModelDeployment speechModels;
    ServerAddresses server;
    VocabularySeeds vocabulary;

    /// Throws DeploymentError. Keys that it does not know are left alone, so that one file serves several versions.
    static Deployment parse(std::string_view json, std::string_view source);
    /// The file that TAVRIN_DEPLOYMENT names, else `installed`; without either the built-in values. Throws as parse().
    static Deployment load(const std::filesystem::path& installed);
};

} // namespace tavrin
