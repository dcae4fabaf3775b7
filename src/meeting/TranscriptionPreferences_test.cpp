#include "meeting/EnglishSpellingPreference.h"
#include "meeting/TranscriptionSpeechLanguage.h"
#include "platform/fake/FakePreferences.h"

#include <gmock/gmock.h>

namespace tavrin {
namespace {

using Language = TranscriptionSpeechLanguage;
using Spelling = EnglishSpellingPreference;

TEST(TranscriptionPreferences, every_language_is_read_as_it_was_stored) {
    FakePreferences preferences;
    for (const Language language : allTranscriptionSpeechLanguages()) {
        preferences.set(transcriptionSpeechLanguageKey, std::string(rawValue(language)));
        EXPECT_EQ(transcriptionSpeechLanguage(preferences), language) << label(language);
    }
    EXPECT_EQ(allTranscriptionSpeechLanguages().size(), 11);
    EXPECT_EQ(rawValue(Language::chinese), "zh");
    EXPECT_EQ(label(Language::automatic), "Detect automatically");
}

TEST(TranscriptionPreferences, what_is_missing_unknown_or_of_another_type_reads_as_british_english) {
    FakePreferences preferences;
    const auto expectDefaults = [&] {
        EXPECT_EQ(transcriptionSpeechLanguage(preferences), Language::english);
        EXPECT_EQ(englishSpellingPreference(preferences), Spelling::british);
    };
    expectDefaults();
    for (const PreferenceValue& value : {PreferenceValue("Klingon"), PreferenceValue(""), PreferenceValue(true)}) {
        preferences.set(transcriptionSpeechLanguageKey, value);
        preferences.set(englishSpellingPreferenceKey, value);
        expectDefaults();
    }
    preferences.set(englishSpellingPreferenceKey, "american");
    EXPECT_EQ(englishSpellingPreference(preferences), Spelling::american);
}

TEST(TranscriptionPreferences, a_literal_is_stored_as_a_text_and_a_whole_number_reads_as_a_number) {
    FakePreferences preferences;
    preferences.set("text", "true");
    EXPECT_EQ(preferences.string("text"), "true");
    EXPECT_EQ(preferences.boolean("text"), std::nullopt);
    preferences.set("number", 3);
    EXPECT_EQ(preferences.integer("number"), 3);
    EXPECT_EQ(preferences.number("number"), 3.0);
    preferences.remove("number");
    EXPECT_EQ(preferences.value("number"), std::nullopt);
}

} // namespace
} // namespace tavrin
