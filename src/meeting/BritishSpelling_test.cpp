#include "meeting/BritishSpelling.h"

#include <gtest/gtest.h>

namespace tavrin {
namespace {

TEST(BritishSpelling, whole_words_in_the_case_that_was_heard) {
    struct Row {
        const char* heard;
        const char* written;
    };
    for (const Row& row : {
             Row{"color Color COLOR cOLOR CoLoR", "colour Colour COLOUR colour Colour"},
             Row{"Mom's math, gray-ish.", "Mum's maths, grey-ish."},
             Row{"colorful decolor color_s colors2 meters", "colorful decolor color_s colors2 metres"},
             Row{"organize organizes organized organizing organization organizations organizer",
                 "organise organises organised organising organisation organisations organizer"},
             Row{"honored honors, honor; honorable", "honoured honours, honour; honorable"},
             Row{"\xff Theater\xff «aging»", "\xff Theatre\xff «ageing»"},
             Row{"écolor color\u0301 d’aluminum", "écolor color\u0301 d’aluminium"},
             Row{"colour maths mum", "colour maths mum"},
             Row{"", ""},
         })
        EXPECT_EQ(britishSpelling(row.heard), row.written);
}

TEST(BritishSpelling, letters_that_fold_to_a_listed_word_count) {
    EXPECT_EQ(britishSpelling("o\ufb00ense \u017fpecialize"), "offence specialise");
}

TEST(BritishSpelling, a_second_time_changes_nothing) {
    const std::string text = "The favorite catalog labeled analog airplanes, an airplane, MOLD and liters.";
    const std::string once = britishSpelling(text);
    EXPECT_EQ(once, "The favourite catalogue labelled analogue airplanes, an aeroplane, MOULD and litres.");
    EXPECT_EQ(britishSpelling(once), once);
}

TEST(BritishSpelling, only_where_it_is_wanted_and_english_may_be_spoken) {
    using Language = TranscriptionSpeechLanguage;
    for (const Language language : allTranscriptionSpeechLanguages()) {
        const bool mayBeEnglish = language == Language::automatic || language == Language::english;
        EXPECT_EQ(applySpellingPreference("Color", language, EnglishSpellingPreference::british),
                  mayBeEnglish ? "Colour" : "Color")
            << label(language);
        EXPECT_EQ(applySpellingPreference("Color", language, EnglishSpellingPreference::american), "Color");
    }
}

} // namespace
} // namespace tavrin
