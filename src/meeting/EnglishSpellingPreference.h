#pragma once

#include "platform/Preferences.h"

#include <cstdint>
#include <string_view>

namespace tavrin {

/// How English words of two spellings are written.
enum class EnglishSpellingPreference : std::uint8_t { american, british };

inline constexpr std::string_view englishSpellingPreferenceKey = "tavrin.englishSpellingPreference";

/// What is stored.
constexpr std::string_view rawValue(EnglishSpellingPreference spelling) {
    return spelling == EnglishSpellingPreference::american ? "american" : "british";
}

/// The stored preference: British unless "american" stands there. Main executor only.
inline EnglishSpellingPreference englishSpellingPreference(const Preferences& preferences) {
    using enum EnglishSpellingPreference;
    return preferences.string(englishSpellingPreferenceKey) == rawValue(american) ? american : british;
}

} // namespace tavrin
