#include "meeting/TranscriptionSpeechLanguage.h"

#include "platform/Preferences.h"

#include <algorithm>
#include <array>

namespace tavrin {

namespace {

using enum TranscriptionSpeechLanguage;

struct Row {
    TranscriptionSpeechLanguage language;
    std::string_view rawValue;
    std::string_view label;
};

/// In the order of the enumeration.
constexpr std::array<Row, 11> rows{{
    {automatic, "auto", "Detect automatically"},
    {english, "en", "English"},
    {french, "fr", "French"},
    {german, "de", "German"},
    {spanish, "es", "Spanish"},
    {italian, "it", "Italian"},
    {portuguese, "pt", "Portuguese"},
    {dutch, "nl", "Dutch"},
    {polish, "pl", "Polish"},
    {japanese, "ja", "Japanese"},
    {chinese, "zh", "Chinese"},
}};

constexpr auto languages = [] {
    std::array<TranscriptionSpeechLanguage, rows.size()> result{};
    std::ranges::transform(rows, result.begin(), &Row::language);
    return result;
}();

const Row& rowOf(TranscriptionSpeechLanguage language) {
    return rows.at(static_cast<std::size_t>(language));
}

} // namespace

std::span<const TranscriptionSpeechLanguage> allTranscriptionSpeechLanguages() {
    return languages;
}

std::string_view rawValue(TranscriptionSpeechLanguage language) {
    return rowOf(language).rawValue;
}

std::string_view label(TranscriptionSpeechLanguage language) {
    return rowOf(language).label;
}

TranscriptionSpeechLanguage transcriptionSpeechLanguage(const Preferences& preferences) {
    const auto stored = preferences.string(transcriptionSpeechLanguageKey);
    const auto* row = std::ranges::find(rows, stored.value_or(""), &Row::rawValue);
    return row == rows.end() ? english : row->language;
}

} // namespace tavrin
