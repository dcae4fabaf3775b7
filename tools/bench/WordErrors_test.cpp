#include "bench/WordErrors.h"

#include <gtest/gtest.h>

namespace tavrin {
namespace {

using Words = std::vector<std::string>;

TEST(WordErrors, spelling_does_not_count_and_numbers_are_words) {
    const std::vector<std::pair<std::string, Words>> table{
        {" ... - !", {}},
        {"He said: \u201cDon\u2019t!\u201d", {"he", "said", "dont"}},
        {"ill-disposed", {"ill", "disposed"}},
        {"MR. John", {"mister", "john"}},
        {"Tom & Jerry, 5%", {"tom", "and", "jerry", "five", "percent"}},
        {"a caf\u00e9", {"a", "caf\u00e9"}},
        {"19 20 21 0", {"nineteen", "twenty", "twenty", "one", "zero"}},
        {"1,205", {"one", "thousand", "two", "hundred", "five"}},
        {"60,000", {"sixty", "thousand"}},
        {"1st 2nd 3rd 8th 12th 20th 21st",
         {"first", "second", "third", "eighth", "twelfth", "twentieth", "twenty", "first"}},
        {"1000000 3pm", {"1000000", "3pm"}},
    };
    for (const auto& [text, words] : table)
        EXPECT_EQ(comparableWords(text), words) << text;
}

TEST(WordErrors, the_fewest_changes_count) {
    struct Row {
        std::string said, heard;
        std::size_t words, errors;
    };
    for (const auto& [said, heard, words, errors] : std::vector<Row>{
             {"go forward ten meters", "Go forward 10 metres.", 4, 0},
             {"a b c d", "a x c d", 4, 1},
             {"a b c d", "a c d", 4, 1},
             {"a b c d", "a b b c d e", 4, 2},
             {"a b c d", "b c d a", 4, 2},
             {"a b c", "", 3, 3},
             {"", "you", 0, 1},
         }) {
        const auto found = wordErrors(said, heard);
        EXPECT_EQ(found.words, words) << said << " / " << heard;
        EXPECT_EQ(found.errors, errors) << said << " / " << heard;
    }
}

TEST(WhoSaidIt, letters_tell_though_words_were_misheard) {
    const char *own = "we have to fix the labels on Monday", *other = "the printer can deliver the week after";
    EXPECT_TRUE(isSaidBy(other, own, "the printer can't deliver the"));
    EXPECT_FALSE(isSaidBy(other, own, "we have to fix the printer"));
    EXPECT_FALSE(isSaidBy(other, own, "something else"));
    EXPECT_TRUE(isSaidBy(other, own, "deliver"));
    EXPECT_TRUE(isSaidBy("share them with the finance department", "with the whole team", "with the NAN department"));
    EXPECT_FALSE(isSaidBy(other, own, own));
    EXPECT_EQ(lostWords("one two three four", "one three five four"), 1U);
}

} // namespace
} // namespace tavrin
