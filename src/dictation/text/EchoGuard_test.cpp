#include "dictation/text/EchoGuard.h"

#include <gtest/gtest.h>

#include <string>

namespace tavrin {
namespace {

const std::string said = "So the numbers for the third quarter look good. Revenue in Norway is up by twelve percent, "
                         "and the new warehouse opens in March. Could you send us the draft by Thursday evening?";

TEST(EchoGuard, lines_of_the_other_side_are_known_again) {
    for (const char* echo : {"the new warehouse opens in March",
                             "revenue in Norway is up by eleven per cent and a new warehouse opened in March",
                             "the number for a third quarter looks good"})
        EXPECT_TRUE(isLikelyEcho(echo, said)) << echo;
    // Three words prove nothing.
    for (const char* own :
         {"warehouse opens in", "I would rather talk about the hiring plan for next year", "-- ... !"})
        EXPECT_FALSE(isLikelyEcho(own, said)) << own;
    EXPECT_FALSE(isLikelyEcho("the new warehouse opens in March", " ... "));
}

TEST(EchoGuard, an_echo_of_any_line_is_found) {
    std::string longTalk;
    for (int i = 0; i < 240; ++i)
        longTalk += "filler" + std::to_string(i) + " ";
    const std::string heard = "is up by ten and a new to in by";
    EXPECT_EQ(isLikelyEcho(heard, said), isLikelyEcho(heard, longTalk + said));
    EXPECT_EQ(isLikelyEcho(heard, said), isLikelyEcho(heard, said + longTalk));
    EXPECT_TRUE(isLikelyEcho(heard, said));
}

TEST(EchoGuard, the_others_words_go_and_the_users_stay) {
    struct Row {
        const char *heard, *kept; // null: nothing is left
    };
    for (const Row& row : {
             Row{"the new warehouse opens in March", nullptr},
             Row{"Revenue in Norway is up buy twelve percent", nullptr}, // one of eight
             Row{"revenues in Norway are up by twelve per cent and the new warehouse opened in March", "per"},
             Row{"yes I agree, revenue in Norway is up by twelve percent and the new warehouse opens in March.",
                 "yes I agree,"},
             Row{"the new warehouse opens in March — but who pays for it", "but who pays for it"},
             Row{"Revenue in Norway is up by hold on please stop twelve percent, and the new warehouse opens",
                 "hold on please stop"}, // said into the middle of it
             Row{"the numbers for the third quarter okay look good", "okay"},
             // less than half would go
             Row{"in March I will be away for the whole of the month and the new warehouse opens",
                 "in March I will be away for the whole of the month and the new warehouse opens"},
             // few of the longer words are the other side's
             Row{"I would rather talk about the hiring plan for next year",
                 "I would rather talk about the hiring plan for next year"},
             Row{"good up the in", "good up the in"}, // words alone, in no order, are no echo
             Row{" ... ", " ... "},
         }) {
        const auto kept = stripEchoedWords(row.heard, said);
        ASSERT_EQ(kept.has_value(), row.kept != nullptr) << row.heard << " -> " << kept.value_or("");
        if (kept) EXPECT_EQ(*kept, row.kept);
    }
}

TEST(EchoGuard, other_languages) {
    const std::string other = "Wir treffen uns am Montag vor der großen Straße in Köln und gehen dann essen";
    EXPECT_EQ(stripEchoedWords("WIR TREFFEN UNS AM MONTAG", other), std::nullopt);
    EXPECT_EQ(stripEchoedWords("wir treffen uns am Montag vor der großen Strasse in Ko\u0308ln ja gern", other),
              "ja gern");
    EXPECT_TRUE(isLikelyEcho("on se voit lundi à\u00a0l’e\u0301cole", "bon, on se voit lundi à l’\u00e9cole alors"));
    EXPECT_EQ(stripEchoedWords("\xff one two three four five", "one two three four five"), "\ufffd");
    EXPECT_FALSE(isLikelyEcho("今日は晴れです", "今日は晴れです")); // no blanks, one word
}

TEST(EchoGuard, a_text_of_any_length_is_bounded) {
    std::string heard, reference;
    for (int i = 0; i < 3000; ++i) {
        heard += "w" + std::to_string(i % 700) + " ";
        reference += "w" + std::to_string(i % 900) + " ";
    }
    const auto kept = stripEchoedWords(heard, reference);
    EXPECT_LT(kept.value_or("").size(), heard.size() / 2);
    EXPECT_TRUE(isLikelyEcho(std::string(200'000, 'x') + " a b c", std::string(200'000, 'x') + " a b c d"));
}

TEST(EchoGuardTest, words_of_that_time_are_known_though_recognised_differently) {
    const char* heardThen = "he explained the new schedule twice and then answer devery question patiently. Now north.";
    for (const char* echo :
         {"answer Devere Requestion patiently", "Question patiently!", "now", "the new sched", "twice and"})
        EXPECT_TRUE(isHeardIn(echo, heardThen)) << echo;
    for (const char* own :
         {"no", "", "...", "not", "that is fine with me", "a new question", "patience", "explain it to them again"})
        EXPECT_FALSE(isHeardIn(own, heardThen)) << own;
    EXPECT_FALSE(isHeardIn("anything", ""));
}

} // namespace
} // namespace tavrin
