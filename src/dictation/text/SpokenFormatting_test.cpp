#include "dictation/text/Salutations.h"
#include "dictation/text/SpokenCues.h"
#include "dictation/text/SpokenFormatting.h"

#include <gtest/gtest.h>

namespace tavrin {
namespace {

struct Row {
    std::string spoken, written;
};

TEST(SpokenFormatting, commands_become_layout) {
    for (const auto& [spoken, written] : {
             Row{"groceries new bullet milk bullet point eggs", "groceries\n• milk\n• eggs"},
             Row{"start a new paragraph hello", "hello"},
             Row{"done. New Para: then next paragraph. more", "done.\n\nthen\n\nmore"},
             Row{"a new paragraph new paragraph b", "a\n\nb"},
             Row{"new paragraph", ""},
             Row{"the new paragraphs stay", "the new paragraphs stay"},
             Row{"bullet bullet milk", "•\n• milk"},
             Row{"new bullet list item milk", "new\n• milk"}, // of two that overlap the longer counts
             Row{"dash point eins NEXT BULLET zwei", "• eins\n• zwei"},
             Row{"bulletin and dash points", "bulletin and dash points"},
             Row{"number one apples number two pears", "1. apples\n2. pears"},
             Row{"number one apples", "number one apples"},
             Row{"item 10 x item 1, y", "10. x\n1. y"},
             Row{"number one number one number one", "1.\n1.\n1."},
             Row{"number eleven and number twelve", "number eleven and number twelve"},
             Row{"first I went home second I slept", "1. I went home\n2. I slept"},
             Row{"a\r\nb\rc\u2028d\u0085e", "a\nb\nc\nd\ne"},
             Row{"買い物 bullet 牛乳 bullet 卵", "買い物\n• 牛乳\n• 卵"},
             Row{"👨‍👩‍👧 bullet e\u0301", "👨‍👩‍👧\n• e\u0301"},
             Row{"B\u0130LLET BULLET x", "B\u0130LLET\n• x"},
             Row{"a\xff bullet \xc3", "a\ufffd\n• \ufffd"},
         })
        EXPECT_EQ(applySpokenFormatting(spoken), written) << spoken;
}

TEST(SpokenFormatting, ordinals_count_if_two_of_them_rise) {
    for (const auto& [spoken, written] : {
             Row{"the first thing and the first thing", "the first thing and the first thing"},
             Row{"First, we go. Third: we stay", "1. we go. \n3. we stay"},
             Row{"second a first b", "second a first b"},
             Row{"third a first b second c", "3. a \n1. b \n2. c"},
             Row{"headfirst a second b", "headfirst a second b"},
             Row{"twenty-first a second b", "twenty-\n1. a \n2. b"},
             Row{"first one and second", "first one and second"}, // nothing behind the second
             Row{"firstly a secondly b", "firstly a secondly b"},
         })
        EXPECT_EQ(convertOrdinals(spoken), written) << spoken;
}

TEST(SpokenFormatting, a_letters_opening_line_stands_alone) {
    for (const auto& [spoken, written] : {
             Row{"Hi John thanks for the note", "Hi John,\n\nthanks for the note"},
             Row{"Hi John, thanks", "Hi John,\n\nthanks"},
             Row{"Dear Dr. Smith I hope", "Dear Dr. Smith,\n\nI hope"},
             Row{"Hi just please", "Hi just,\n\nplease"}, // the first word is taken as it comes
             Row{"good morning   Ms   Lee  we met", "good morning Ms Lee,\n\nwe met"},
             Row{"To Sarah, Thanks", "To Sarah,\n\nThanks"},
             Row{"to the office please", "to the office please"},
             Row{"to Ben", "to Ben"},
             Row{"Hello there", "Hello there"},
             Row{"Hi John \t\n", "Hi John \t\n"},
             Row{"Great.\n\n hey Jo! thanks", "Great.\n\n hey Jo,\n\nthanks"},
             Row{"Hi Jo thanks! Hello Al please", "Hi Jo,\n\nthanks! Hello Al,\n\nplease"},
             Row{"Hi John\nthanks", "Hi John\nthanks"},
             Row{"Hi John.\nHey Jo thanks", "Hi John.\nHey Jo,\n\nthanks"}, // the point of the name ends a sentence
             Row{"Hi -- thanks a lot", "Hi -- thanks a lot"},
             Row{"Hi John - see you", "Hi John,\n\nsee you"},
             Row{"history Hi John thanks", "history Hi John thanks"},
             Row{"Hi\nJohn thanks", "Hi\nJohn thanks"},
             Row{" Hi John thanks", " Hi John thanks"},
             Row{"Dear José thanks", "Dear José,\n\nthanks"},
             Row{"H\u0130 John thanks", "H\u0130 John thanks"},
         })
        EXPECT_EQ(insertSalutationBreaks(spoken), written) << spoken;
}

TEST(SpokenFormatting, layout_is_tidied) {
    for (const auto& [spoken, written] : {
             Row{"a  \n  \n \n\n b", "a\n\nb"},
             Row{"•x\n• y\n•\tz\n•", "• x\n• y\n•\tz\n•"},
             Row{"1.x\n12.y 3.z\n4. a\n5.5", "1. x\n12. y 3.z\n4. a\n5.5"},
             Row{"a \t b\u00a0\u00a0c\n\t\td ", "a b c\nd"},
             Row{"\n\n a \n", "a"},
         })
        EXPECT_EQ(normalizeLayout(spoken), written) << spoken;
}

TEST(SpokenFormatting, cues_of_the_callers_own) {
    const std::vector<SpokenCues::Cue> list{{"a.b", "<short>"}, {"x a.b", "<long>"}, {"A.B", "<second>"}};
    const SpokenCues cues(list);
    EXPECT_EQ(replaceCues("x a.b, a.b axb", cues), "<long><short>axb");
    EXPECT_EQ(replaceCues("a.ba.b a.b.", cues), "a.ba.b<short>");
}

TEST(SpokenFormatting, a_second_time_changes_nothing_in_what_is_laid_out) {
    for (const char* spoken : {"groceries new bullet milk bullet point eggs", "number one apples number two pears",
                               "Hi John thanks new paragraph first I went second I slept", "10.30 is fine \u00a0 x"}) {
        const std::string once = applySpokenFormatting(spoken);
        EXPECT_EQ(applySpokenFormatting(once), once) << spoken;
    }
}

} // namespace

} // namespace tavrin
