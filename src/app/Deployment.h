#pragma once

#include "meeting/ModelDeployment.h"

#include <filesystem>
#include <stdexcept>
#include <string>

namespace tavrin {

/// A deployment file that will not do, with the file and the reason.
class DeploymentError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What whoever installs the program decides: one JSON file beside it, "deployment.json". A plain value.
struct Deployment {
    ModelDeployment speechModels;

    /// Throws DeploymentError. Keys that it does not know are left alone, so that one file serves several versions.
    static Deployment parse(std::string_view json, std::string_view source);
    /// The file that TAVRIN_DEPLOYMENT names, else `installed`; without either the built-in values. Throws as parse().
    static Deployment load(const std::filesystem::path& installed);
};

} // namespace tavrin
