#include "dictation/text/RepeatedPhrases.h"
#include "dictation/text/RepeatsTestSupport.h"

#include <gtest/gtest.h>

#include <random>

// Tables of texts read best as sums.
// NOLINTBEGIN(performance-inefficient-string-concatenation)

namespace tavrin {
namespace {

struct Row {
    std::string text, result;
};

std::string numbered(const std::string& word, int from, int to) {
    std::vector<std::string> list;
    for (int i = from; i <= to; ++i)
        list.push_back(word + std::to_string(i) + "z"); // so that none begins with another
    return joined(list);
}

TEST(RepeatedSpeech, a_word_cut_or_extended_a_little_is_the_same_word) {
    struct Pair {
        const char *a, *b;
        bool match;
    };
    for (const Pair& pair :
         {Pair{"meet", "meeting", true}, Pair{"trans", "transcript", false}, Pair{"", "", true}, Pair{"", "a", false},
          Pair{"a", "abcd", true}, Pair{"a", "abcde", false}, Pair{"meet", "met", false},
          Pair{"caf\u00e9", "cafe\u0301s", true}, Pair{"cafe", "cafe\u0301", false}, Pair{"x", "x\u0303", false},
          Pair{"👨", "👨‍👩‍👧", false},
          Pair{"👨‍👩‍👧", "👨‍👩‍👧👨‍👩‍👧👨‍👩‍👧👨‍👩‍👧", true},
          Pair{"stra\u00dfe", "strasse", false}, Pair{"今日", "今日は晴", true}}) {
        for (const auto& [a, b] : {std::pair(pair.a, pair.b), std::pair(pair.b, pair.a)}) {
            const LooseWords list(std::vector<std::string_view>{a, b});
            EXPECT_EQ(list.match(list.ids()[0], list.ids()[1]), pair.match) << a << ' ' << b;
            EXPECT_EQ(looseWordMatch(a, b), pair.match) << a << ' ' << b;
        }
    }
}

TEST(RepeatedSpeech, phrases_back_to_back_are_said_once) {
    for (const auto& [text, result] : {
             Row{"one two three one two three four", "one two three four"},
             Row{"The cat THE CAT sat", "The cat sat"},
             Row{"the cat, the cat sat", "the cat, the cat sat"}, // punctuation counts
             Row{"a b c b c a b c d", "a b c d"},                 // a removal makes a longer repeat
             Row{" a\tb  c", " a\tb  c"},
             Row{" a\tb  c d ", "a b c d"},
             Row{"caf\u00e9 noir cafe\u0301 noir", "caf\u00e9 noir"},
             Row{"Stra\u00dfe frei STRASSE frei", "Stra\u00dfe frei STRASSE frei"}, // lower case only, not folded
             Row{"今日は 晴れ 今日は 晴れ です", "今日は 晴れ です"},
             Row{numbered("w", 1, 64) + " " + numbered("w", 1, 64), numbered("w", 1, 64)},
             Row{numbered("w", 1, 65) + " " + numbered("w", 1, 65), numbered("w", 1, 65) + " " + numbered("w", 1, 65)},
         })
        EXPECT_EQ(collapseAdjacentPhrases(text), result);
}

TEST(RepeatedSpeech, duplicate_words_go_whatever_their_case) {
    for (const auto& [text, result] :
         {Row{"that that works", "that works"}, Row{"the the, THE the", "the the, THE"}, Row{" x ", " x "},
          Row{"Straße STRASSE", "Straße"}, Row{"é e\u0301 E\u0301 e", "é e"}, Row{"İ i", "İ i"},
          Row{"👍 👍 👍🏽", "👍 👍🏽"}})
        EXPECT_EQ(dropAdjacentDuplicateWords(text), result);
}

TEST(RepeatedSpeech, a_restart_of_the_whole_goes) {
    const std::string said = "Hello again everyone this is the plan that we made for all of next week at the very end";
    const std::string twenty = said + " of";
    for (const auto& [text, result] : {
             Row{said + said, said},
             Row{said + " " + said, said},
             Row{said + ". " + said + ".", said + "."},
             Row{said + " and " + twenty, said + " and"},
             Row{"  short  texts  stay", "  short  texts  stay"},
             // sixteen words of the restart are needed
             Row{said + " Hello again everyone this is the plan that",
                 said + " Hello again everyone this is the plan that"},
         })
        EXPECT_EQ(collapseRestarts(text), result);
}

TEST(RepeatedSpeech, a_restart_glued_to_a_word_is_cut_off_it) {
    struct Case {
        const char *word, *first, *result;
    };
    for (const Case& row :
         {Case{"endHello", "Hello,", "end"}, Case{"end,hello", "Hello", "end"}, Case{"othello", "Hello", "othello"},
          Case{"exaI", "I", "exaI"}, Case{"---to", "to", "---to"}, Case{"fin\u00c9t\u00c9", "e\u0301te\u0301", "fin"},
          Case{"", "to", ""}}) {
        std::vector<std::string_view> list{"x", row.word};
        repairFusedWord(list, 1, row.first);
        EXPECT_EQ(list[1], row.result);
    }
}

TEST(RepeatedSpeech, an_end_said_again_goes) {
    const std::string head = numbered("h", 1, 8), said = "we will meet the whole team on monday morning at ten";
    for (const auto& [text, result] : {
             Row{head + " " + said + " " + said, head + " " + said},
             Row{head + " " + said + " so " + said, head + " " + said}, // a first word may differ
             Row{head + " " + said + " we will meet the whole team on tuesday morning at ten", head + " " + said},
             Row{head + " " + said + " we will see some other people on tuesday morning at ten",
                 head + " " + said + " we will see some other people on tuesday morning at ten"},
             Row{head + " " + head, head},
             Row{"a1z " + head + "\n" + said + " meeting",
                 "a1z " + head + " " + said + " meeting"}, // nothing repeated, nothing cut
         })
        EXPECT_EQ(dropRepeatedTail(text), result);
}

TEST(RepeatedSpeech, the_fragment_of_a_next_word_is_cut_off_the_last) {
    for (const auto& [last, result] :
         {Row{"reportth", "report"}, Row{"Teams.", "Teams."}, Row{"word", "word"}, Row{"planet", "plane"},
          Row{"planand", "plana"}, Row{"numberwe", "number"}, Row{"x-raya", "x-ray"}, Row{"12345", "12345"},
          Row{"caf\u00e9to", "caf\u00e9t"}, Row{"\u65e5\u672c\u8a9e\u6587a", "\u65e5\u672c\u8a9e\u6587"}}) {
        std::vector<std::string_view> list{"x", last};
        trimFusedFragment(list);
        EXPECT_EQ(list[1], result) << last;
    }
}

/// Texts in which much is repeated, in one way or another, from few words of which some match loosely.
class RandomSpeech {
public:
    std::string text() {
        const int vocabulary = upTo(3) == 0 ? 3 : 6 + upTo(24);
        std::vector<std::string> list;
        for (int parts = 1 + upTo(4); parts > 0; --parts) {
            const std::size_t before = list.size();
            for (int count = upTo(22); count > 0; --count)
                list.push_back(word(vocabulary));
            if (before > 0 && upTo(3) > 0) repeat(list, vocabulary);
        }
        return joined(list);
    }

private:
    int upTo(int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); }

    std::string word(int vocabulary) {
        static const std::vector<std::string> all{
            "me",      "meet", "meeting", "meetings", "the",    "them",  "theme", "to",    "today",
            "go",      "goes", "--",      "we",       "weeks",  "I've",  "ive",   "a",     "an",
            "and",     "plan", "plans",   "Tea",      "teapot", "é",     "éte",   "x",     "report",
            "reports", "of",   "often",   "...",      "dont",   "don't", "end",   "endme", "todaywe"};
        const int number = upTo(vocabulary);
        return upTo(40) == 0 ? uppercased(all[number]) + "," : all[number];
    }

    /// Says some stretch again, with a few words changed, left out or glued together.
    void repeat(std::vector<std::string>& list, int vocabulary) {
        const std::size_t begin = upTo(2) == 0 ? 0 : upTo(static_cast<int>(list.size()));
        const std::size_t end = begin + 1 + upTo(static_cast<int>(list.size() - begin));
        const std::vector<std::string> copy(list.begin() + static_cast<std::ptrdiff_t>(begin),
                                            list.begin() + static_cast<std::ptrdiff_t>(end));
        const int changes = 2 + upTo(30);
        for (std::size_t i = 0; i < copy.size(); ++i) {
            if (i == 0 && upTo(4) == 0)
                list.back() += copy[i];
            else if (upTo(changes) == 0)
                list.push_back(word(vocabulary));
            else
                list.push_back(copy[i]);
        }
    }

    std::mt19937 random{20};
};

TEST(RepeatedSpeech, the_fast_ways_give_what_the_plain_rules_give) {
    RandomSpeech speech;
    int restarts = 0, phrases = 0, tails = 0;
    constexpr int rounds = 4000;
    for (int round = 0; round < rounds; ++round) {
        const std::string text = speech.text();
        const std::string once = collapseRestarts(text);
        ASSERT_EQ(once, plain::collapseRestarts(text)) << text;
        const std::string without = collapseAdjacentPhrases(text);
        ASSERT_EQ(without, plain::collapseAdjacentPhrases(text)) << text;
        const std::string shorter = dropRepeatedTail(text);
        ASSERT_EQ(shorter, plain::dropRepeatedTail(text)) << text;
        restarts += once.size() < text.size();
        phrases += without.size() < text.size();
        tails += shorter.size() < text.size();
    }
    // All three had much to do and much to leave alone.
    for (const int hits : {restarts, phrases, tails}) {
        EXPECT_GT(hits, rounds / 10);
        EXPECT_LT(hits, rounds * 9 / 10);
    }
}

} // namespace
} // namespace tavrin

// NOLINTEND(performance-inefficient-string-concatenation)
