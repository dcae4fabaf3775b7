#pragma once

#include <string_view>

/// What the program is called where the system keeps its things. The only product words of this folder.
namespace tavrin {

/// Bundle identifier, desktop id, log subsystem, name of the folders for preferences and caches.
inline constexpr std::string_view applicationIdentifier = "so.tavrin.TavrinAssistant";

/// The folder with the user's documents of this program, under the application support folder.
inline constexpr std::string_view applicationFolderName = "TavrinAssistant";

} // namespace tavrin
