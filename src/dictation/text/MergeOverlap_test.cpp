#include "dictation/text/MergeOverlap.h"

#include <gtest/gtest.h>

namespace tavrin {
namespace {

TEST(MergeOverlap, normal_form_of_a_word) {
    for (const auto& [word, form] :
         {std::pair{"Hello,", "hello"}, std::pair{"“Well…”", "well"}, std::pair{"I've", "ive"}, std::pair{"VE", "ive"},
          std::pair{"'ve", "ive"}, std::pair{"ive.", "ive"}, std::pair{"Dont", "don't"}, std::pair{"don't", "don't"},
          std::pair{"we've", "we've"}, std::pair{"--", ""}, std::pair{"", ""}, std::pair{"ÉTÉ!", "été"},
          std::pair{"$5", "$5"}})
        EXPECT_EQ(normalizedWord(word), form) << word;
}

TEST(MergeOverlap, words_heard_twice_stand_once) {
    struct Row {
        const char* left;
        const char* right;
        const char* merged;
    };
    for (const Row& row : {
             Row{"we should meet on Friday", "meet on Friday at ten", "we should meet on Friday at ten"},
             // case, punctuation and contractions differ; the left side's form stays
             Row{"so, I've seen it.", "Ive seen it and left", "so, I've seen it. and left"},
             Row{"dont go", "Don't go!  There is more", "dont go There is more"},
             Row{"au caf\u00e9 bleu", "CAFE\u0301 bleu demain", "au caf\u00e9 bleu demain"},
             // one word: only from four letters on, its punctuation not counted
             Row{"that is the plan", "plan B", "that is the plan B"},
             Row{"go to the", "the house", "go to the the house"},
             Row{"go to the.", "the. house", "go to the. the. house"},
             Row{"go to -- the", "-- the house", "go to -- the -- the house"},
             // the longest run wins over a shorter one
             Row{"no no no no", "no no no stop", "no no no no stop"},
             Row{"nothing in common", "with this text", "nothing in common with this text"},
             Row{"the end of it", "of the end", "the end of it of the end"}, // a run must reach the end of the left
             Row{"a whole sentence again", "sentence again", "a whole sentence again"},
             Row{"to the end", "the end,\u00a0 and  so\non ", "to the end and  so\non"}, // blanks within the rest stay
             Row{" left \n", "\tright here ", "left right here"},
             Row{"", " right ", "right"},
         })
        EXPECT_EQ(mergeOverlap(row.left, row.right), row.merged) << row.left << " + " << row.right;
}

TEST(MergeOverlap, only_the_last_characters_are_compared) {
    const std::string eight = "abcdefg ";
    const std::string fortyEight = eight + eight + eight + eight + eight + "abc wxyz";
    EXPECT_EQ(withoutOverlap(fortyEight, fortyEight + " more"), "more");
    EXPECT_EQ(withoutOverlap("first " + fortyEight + "  ", fortyEight + " more"), "more");
    const std::string cut = "x" + fortyEight; // its first word reaches out of the 48 characters
    EXPECT_EQ(withoutOverlap(cut, cut + " more"), cut + " more");
    EXPECT_EQ(withoutOverlap(cut, fortyEight + " more"), fortyEight + " more");
    EXPECT_EQ(withoutOverlap("one two three", "two three four", 9), "four");
    EXPECT_EQ(withoutOverlap("one two three", "two three four", 8), "two three four");
    EXPECT_EQ(withoutOverlap("one two three", "three four", 5), "four");
}

TEST(MergeOverlap, a_character_may_be_many_bytes) {
    const std::string accents = "e\u0301e\u0301e\u0301e\u0301"; // four characters, eight code points, twelve bytes
    EXPECT_EQ(withoutOverlap("x " + accents, accents + " y", 4), "y");
    EXPECT_EQ(withoutOverlap("x " + accents, accents + " y", 3), accents + " y");
    EXPECT_EQ(withoutOverlap("x 👨‍👩‍👧a", "👨‍👩‍👧a y"),
              "👨‍👩‍👧a y"); // two characters are no run
}

} // namespace
} // namespace tavrin
