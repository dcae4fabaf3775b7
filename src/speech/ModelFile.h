#pragma once

#include "support/json/Json.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace tavrin {

/// The text of a file of a model folder. Throws SpeechError that names the file if it cannot be read or has more than
/// `mostBytes`.
[[nodiscard]] std::string readModelFile(const std::filesystem::path& file, std::size_t mostBytes);

/// Parses it. Throws SpeechError that names the file.
[[nodiscard]] Json parseModelJson(std::string_view text, const std::string& name);

} // namespace tavrin
