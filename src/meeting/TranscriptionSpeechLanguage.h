#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tavrin {

class Preferences;

/// The language that the user says is spoken, or `automatic` detection. Plain values; any thread unless told otherwise.
enum class TranscriptionSpeechLanguage : std::uint8_t {
    automatic,
    english,
    french,
    german,
    spanish,
    italian,
    portuguese,
    dutch,
    polish,
    japanese,
    chinese
};

inline constexpr std::string_view transcriptionSpeechLanguageKey = "tavrin.transcriptionSpeechLanguage";

/// All of them, in the order in which they are offered.
std::span<const TranscriptionSpeechLanguage> allTranscriptionSpeechLanguages();

/// What is stored: the two-letter code, or "auto".
std::string_view rawValue(TranscriptionSpeechLanguage language);
/// What the user reads.
std::string_view label(TranscriptionSpeechLanguage language);

/// The stored preference. Without one, and for a value that none of them has, English. Main executor only.
TranscriptionSpeechLanguage transcriptionSpeechLanguage(const Preferences& preferences);

} // namespace tavrin
