#include "dictation/text/DictationTextCleanup.h"
#include "dictation/text/NoiseMarkers.h"
#include "dictation/text/SelfCorrection.h"
#include "support/text/Unicode.h"

#include <gtest/gtest.h>

// Tables of texts read best as sums.
// NOLINTBEGIN(performance-inefficient-string-concatenation)

namespace tavrin {
namespace {

struct Row {
    std::string given, kept;
};

TEST(DictationTextCleanup, markers_and_made_up_phrases_go) {
    for (const auto& [given, kept] : {
             Row{"[BLANK_AUDIO]", ""},
             Row{" [Blank audio without end", ""},
             Row{"so [laughs] we [LAUGHTER] go [typing sounds] on [dialtone] [RINGING]now", "so we go on now"},
             Row{"[BLOCK] is kept, [BL ANK] is not", "BLOCK] is kept, ] is not"},
             Row{"a [END[START] b [beep", "a b"},
             Row{"yes (Dial Tone) (beeps)and (music plays)", "yes and (music plays"},
             Row{">> Anna: >>hello >>>", "Anna: hello >"},
             Row{"thanks for watching the kids today", "the kids today"},
             Row{"Thank you  for\nwatching! Please subscribe. See you next time.", ""},
             Row{"prefer the british English spelling throughout, please", "prefer , please"},
             Row{"thanks for your time and the thank for watching", "and the"},
             Row{"thanksforwatching", "thanksforwatching"},
             Row{"one \u00a0 two\n\nthree\tfour", "one two three\tfour"},
             Row{"“Hello there.” ", "Hello there"},
             Row{"— 5 $ —", "5 $"},
             Row{"!؟ مرحبا؟", "مرحبا"},
             Row{"\xff ok\xc3", "\ufffd ok\ufffd"},
         })
        EXPECT_EQ(stripNoiseMarkers(given), kept) << given;
}

TEST(DictationTextCleanup, the_speakers_last_correction_counts) {
    for (const auto& [given, kept] : {
             Row{"scratch that ok", "scratch that ok"},
             Row{"scratch that okay", "okay"},
             Row{"one scratch that two no wait three", "two no wait three"}, // a later cue of the table overrides
             Row{"NO WAIT go. No wait, stay!", "stay"},
             Row{"a casino, a bar", "a bar"}, // no word boundary is asked for
             Row{"it is — actually, fine.", "fine"},
             Row{"\u0130 I mean \u0130stanbul", "\u0130stanbul"},
             Row{"no,\u0308 stay here", "no,\u0308 stay here"}, // no character is split
             Row{"no, 👨‍👩‍👧👨‍👩‍👧", "no, 👨‍👩‍👧👨‍👩‍👧"},
             Row{"no, 👨‍👩‍👧👨‍👩‍👧👨‍👩‍👧",
                 "👨‍👩‍👧👨‍👩‍👧👨‍👩‍👧"},
             Row{" nothing to correct. ", " nothing to correct. "},
         })
        EXPECT_EQ(applySelfCorrection(given), kept) << given;
}

TEST(DictationTextCleanup, hesitations_go_at_the_beginning_alone) {
    for (const auto& [given, kept] :
         {Row{"Ummm uh ER erm hmmm so um yes", "so um yes"}, Row{"um", "um"}, Row{"um uh", "uh"},
          Row{"umbrella error", "umbrella error"}, Row{"um, so", "um, so"}, Row{"like  this", "this"},
          Row{"likely not", "likely not"}})
        EXPECT_EQ(dropLeadingFillers(given), kept) << given;
}

TEST(DictationTextCleanup, a_dictation_becomes_what_was_meant) {
    struct Case {
        std::string given, repaired, meant;
    };
    const std::string fifteen = "we agreed to ship the new release on friday after the last review is done";
    for (const auto& [given, repaired, meant] : {
             Case{" [MUSIC] ", "", ""},
             Case{"um send it to Anna no wait to Ben", "um send it to Anna no wait to Ben", "to Ben"},
             Case{"okay.", "okay", "okay"},
             Case{fifteen + " " + fifteen + ".", fifteen, fifteen},
             Case{"um um like, let us us begin", "um like, let us begin", "let us begin"},
             Case{"a no wait go there go there now", "a no wait go there now", "go there now"},
             Case{"list bullet milk bullet eggs", "list bullet milk bullet eggs", "list\n• milk\n• eggs"},
             Case{"\u0130yi g\u00fcnler, \u0130yi g\u00fcnler!", "\u0130yi g\u00fcnler, \u0130yi g\u00fcnler",
                  "\u0130yi g\u00fcnler, \u0130yi g\u00fcnler"},
             Case{"", "", ""},
         }) {
        EXPECT_EQ(cleanDictation(given, false), repaired);
        EXPECT_EQ(cleanDictation(given, true), meant);
    }
}

TEST(DictationTextCleanup, a_meetings_line_keeps_speech_alone) {
    for (const auto& [given, kept] :
         {Row{"okay.", ""}, Row{"okay then", "okay then"}, Row{"Mouse clicks!", ""}, Row{"(I'm)", ""},
          Row{"tap tap tap", ""}, Row{" [music] ", ""}, Row{"this is is what we we want", "this is what we want"},
          Row{"no wait to Ben", "no wait to Ben"}, Row{"うん", "うん"}})
        EXPECT_EQ(cleanMeetingSegment(given), kept) << given;
    // What is said again at the end in other words stays in a meeting.
    const std::string said = "alpha bravo charlie delta echo foxtrot golf hotel";
    const std::string twice = said + " so what " + said;
    EXPECT_EQ(cleanMeetingSegment(twice), twice);
    EXPECT_EQ(cleanDictation(twice, false), said + " so");
}

TEST(DictationTextCleanup, a_megabyte_of_one_word_is_cleaned) {
    std::string many;
    while (many.size() < 1'000'000)
        many += "word ";
    EXPECT_EQ(cleanDictation(many, true), "word");
    EXPECT_EQ(cleanMeetingSegment(many), "word");
    const std::string longWord(1'000'000, 'x'), accents = joined(std::vector<std::string>(100'000, "e\u0301"), "");
    EXPECT_EQ(cleanDictation(longWord, true), longWord);
    EXPECT_EQ(cleanDictation(accents + " " + accents, true), accents);
    EXPECT_EQ(cleanDictation(std::string(1'000'000, ' '), true), "");
    EXPECT_EQ(cleanMeetingSegment(std::string(500'000, '[')), "");
}

TEST(DictationTextCleanup, words_stay_words_and_in_order) {
    for (const char* text : {
             "um the plan the plan is, um, well no wait the plan is is good >> thanks for watching",
             "Ç’est bon, ç’est bon. Oui oui OUI. [BLANK_AUDIO] fin",
             "👨‍👩‍👧 👨‍👩‍👧 e\u0301 \u00e9 e\u0301 \u00e9 \u05e9\u05dc\u05d5\u05dd "
             "\u05e9\u05dc\u05d5\u05dd",
         }) {
        const std::vector<std::string_view> given = words(text);
        const std::string once = cleanMeetingSegment(text);
        auto next = given.begin();
        for (const std::string_view word : words(once)) {
            next = std::find_if(next, given.end(), [&](std::string_view said) { return said.contains(word); });
            ASSERT_NE(next, given.end()) << word;
            ++next;
        }
        EXPECT_EQ(cleanMeetingSegment(once), once);
        EXPECT_EQ(cleanDictation(cleanDictation(text, false), false), cleanDictation(text, false));
    }
}

} // namespace

} // namespace tavrin

// NOLINTEND(performance-inefficient-string-concatenation)
