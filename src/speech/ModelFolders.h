#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace tavrin {

/// True if `folder` holds "MelSpectrogram", "AudioEncoder" and "TextDecoder", each in a form that some platform's
/// runtime takes (".onnx", ".mlmodelc", ".mlpackage").
[[nodiscard]] bool holdsModelParts(const std::filesystem::path& folder);

/// True for "openai_whisper-" + variant, and for that with "_" and anything behind it (a size, a revision).
[[nodiscard]] bool isFolderNameOf(std::string_view folderName, std::string_view variant);

/// Where model folders may lie: "OnDeviceModels", then "WhisperModels" in the program's data folder, then the
/// containers that earlier builds left under `home`.
[[nodiscard]] std::vector<std::filesystem::path> modelSearchRoots(const std::filesystem::path& applicationSupport,
                                                                  const std::filesystem::path& home);

/// The folder of `variant`: `storedPath` if it holds the model, else the first one below the roots, in the order of
/// names. Never throws; what cannot be read is passed over.
[[nodiscard]] std::optional<std::filesystem::path> resolveModelFolder(std::string_view variant,
                                                                      const std::filesystem::path& storedPath,
                                                                      const std::vector<std::filesystem::path>& roots);

} // namespace tavrin
