#pragma once

#include "support/json/Json.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

/// What the engine writes, and what the user means by it. A plain value; the functions may be called from any thread.
struct VocabularyCorrection {
    std::string id;                    ///< a UUID
    std::vector<std::string> variants; ///< the mishearings
    std::string correct;               ///< the wanted form, as it is to stand

    bool operator==(const VocabularyCorrection&) const = default;
};

/// The list as it is stored: an array of objects with the keys "id", "variants" and "correct".
Json vocabularyJson(std::span<const VocabularyCorrection> corrections);

/// Reads what vocabularyJson() wrote; other keys of the objects are passed over. Absent as soon as one entry lacks a
/// key or has it with another type, or with an id that is no UUID: half a list would look like the whole.
std::optional<std::vector<VocabularyCorrection>> vocabularyIn(const Json& stored);

/// What the user typed as mishearings: the parts between commas, without blanks around them and empty ones, in order.
std::vector<std::string> parseVariants(std::string_view text);

} // namespace tavrin
