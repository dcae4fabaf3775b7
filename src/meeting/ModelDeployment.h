#pragma once

#include <optional>
#include <string>

namespace tavrin {

/// Which speech model serves which role on this machine. A role without a variant is not offered: nothing asks for it.
struct ModelDeployment {
    /// Dictation, and in meetings both live lanes and the archive.
    std::optional<std::string> smallVariant = "base";
    /// Meetings on a machine where the small model is not installed.
    std::optional<std::string> largeVariant;
};

} // namespace tavrin
