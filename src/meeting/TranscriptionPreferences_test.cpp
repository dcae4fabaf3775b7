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
    EXPECT_EQ(rawValue(Language::chinese), "zh");
}

TEST(TranscriptionPreferences, what_is_missing_unknown_or_of_another_type_reads_as_british_english) {
    FakePreferences preferences;
    EXPECT_EQ(transcriptionSpeechLanguage(preferences), Language::english);
    EXPECT_EQ(englishSpellingPreference(preferences), Spelling::british);
    for (const PreferenceValue& value : {PreferenceValue("Klingon"), PreferenceValue(""), PreferenceValue(true)}) {
        preferences.set(transcriptionSpeechLanguageKey, value);
        preferences.set(englishSpellingPreferenceKey, value);
        EXPECT_EQ(transcriptionSpeechLanguage(preferences), Language::english);
        EXPECT_EQ(englishSpellingPreference(preferences), Spelling::british);
    }
    preferences.set(englishSpellingPreferenceKey, "american");
    EXPECT_EQ(englishSpellingPreference(preferences), Spelling::american);
}

} // namespace
} // namespace tavrin
