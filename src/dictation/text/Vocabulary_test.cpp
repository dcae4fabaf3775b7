#include "dictation/text/VocabularyCorrector.h"
#include "support/text/Unicode.h"

#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <map>
#include <random>
#include <ranges>

namespace tavrin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Corrections = std::vector<VocabularyCorrection>;

const std::string id = "00000000-0000-4000-8000-00000000000A";

VocabularyCorrection rule(std::vector<std::string> variants, std::string correct) {
    return {.id = id, .variants = std::move(variants), .correct = std::move(correct)};
}

TEST(VocabularyCorrector, puts_the_wanted_form_where_the_mishearing_stands_as_words) {
    struct Case {
        const char* text;
        Corrections corrections;
        const char* expected;
    };
    const std::array cases{
        Case{"", {rule({"a"}, "b")}, ""},
        Case{"JON and jon, Jonathan", {rule({"Jon"}, "John")}, "John and John, Jonathan"},
        Case{"Jon Smith called Jon",
             {rule({"Jon"}, "Joan"), rule({"Jon Smith"}, "Jane Smythe")},
             "Jane Smythe called Joan"},
        Case{"it cost five", {rule({"five"}, R"($1 \0 \n)")}, R"(it cost $1 \0 \n)"},
        Case{"one", {rule({"one"}, "two two"), rule({"two"}, "six")}, "six six"},      // a later rule sees it
        Case{"ab ab", {rule({"ab"}, "first"), rule({"AB"}, "second")}, "first first"}, // equal length: in order
        Case{"a.b axb a.bc", {rule({"a.b"}, "dot")}, "dot axb a.bc"},                  // no pattern
        Case{"C++ C++x", {rule({"C++"}, "see")}, "C++ seex"},                          // ends in no word character
        Case{"straße STRASSE Strasses", {rule({"Straße"}, "Weg")}, "Weg Weg Strasses"},
        Case{"Zoe Zoë zoe\u0308", {rule({"Zoë"}, "Zoey")}, "Zoe Zoey zoe\u0308"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(applyVocabularyCorrections(each.text, each.corrections), each.expected) << each.text;
}

/// Rule by rule over the whole text, as the rules are told.
std::string plainlyCorrected(std::string text, const Corrections& corrections) {
    std::multimap<std::size_t, std::pair<std::string, std::string>, std::greater<>>
        rules; // equal keys keep their order
    for (const VocabularyCorrection& correction : corrections)
        for (const std::string& variant : correction.variants)
            if (!variant.empty() && variant != correction.correct)
                rules.emplace(characterCount(variant), std::pair(variant, correction.correct));
    for (const auto& [length, found] : rules)
        text =
            Regex("\\b" + Regex::escaped(found.first) + "\\b", Regex::Case::insensitive).replaced(text, found.second);
    return text;
}

TEST(VocabularyCorrector, gives_what_each_rule_over_the_whole_text_gives) {
    // Letters that fold to others or to several, marks and signs that move word boundaries, blanks of all kinds.
    constexpr std::string_view listed =
        "a|A|b|ss|ß|\u1E9E|s|\u017F|k|\u212A|\u0130|i|I|\u0131|\u0308|\u200D|\u00AD|-|'|\u2019|.|$1|_|7| | | "
        "|\n|\t|\u00A0|\u3000|漢|ΐ|ι\u0308\u0301|\uFB03|ffi|\xFF|🙂|ab a";
    std::vector<std::string> pieces;
    for (const auto piece : std::views::split(listed, '|'))
        pieces.emplace_back(piece.begin(), piece.end());
    std::mt19937 random(20261121);
    const auto text = [&](std::size_t most) {
        std::string result;
        for (std::size_t count = random() % (most + 1); count > 0; --count)
            result += pieces[random() % pieces.size()];
        return result;
    };
    int changed = 0;
    for (int round = 0; round < 4000; ++round) {
        Corrections corrections;
        for (std::size_t count = random() % 6; count > 0; --count)
            corrections.push_back(rule({text(2), text(3), text(1)}, text(3)));
        const std::string subject = text(40);
        const std::string expected = plainlyCorrected(subject, corrections);
        ASSERT_EQ(VocabularyCorrector(corrections).corrected(subject), expected)
            << subject << "\n"
            << compactText(vocabularyJson(corrections));
        changed += expected != subject ? 1 : 0;
    }
    EXPECT_GT(changed, 1000);
}

TEST(VocabularyCorrection, is_kept_as_json_and_foreign_data_are_no_list) {
    const Corrections list{rule({"a", "ü"}, "Ä"), rule({}, "")};
    EXPECT_EQ(compactText(vocabularyJson(list)), R"([{"id":")" + id +
                                                     R"(","variants":["a","ü"],"correct":"Ä"},{"id":")" + id +
                                                     R"(","variants":[],"correct":""}])");
    EXPECT_EQ(vocabularyIn(vocabularyJson(list)), list);
    EXPECT_EQ(vocabularyIn(Json::array()), Corrections{});
    const std::string good = R"({"id":"00000000-0000-4000-8000-00000000000a","variants":[],"correct":"x","more":1})";
    EXPECT_EQ(vocabularyIn(parseJson("[" + good + "]", "test"))->size(), 1U);
    for (const char* bad : {"{}", "null", "3", "[]", R"({"id":"1","variants":[],"correct":"x"})",
                            R"({"id":"00000000-0000-4000-8000-00000000000g","variants":[],"correct":"x"})",
                            R"({"id":"00000000-0000-4000-8000-00000000000a","variants":["a",1],"correct":"x"})",
                            R"({"id":"00000000-0000-4000-8000-00000000000a","variants":"a","correct":"x"})",
                            R"({"id":"00000000-0000-4000-8000-00000000000a","variants":[]})"})
        EXPECT_EQ(vocabularyIn(parseJson("[" + good + "," + bad + "]", "test")), std::nullopt) << bad;
    EXPECT_EQ(vocabularyIn(Json("text")), std::nullopt);
}

TEST(VocabularyCorrection, variants_are_what_stands_between_commas) {
    EXPECT_THAT(parseVariants(" a, ,b "), ElementsAre("a", "b"));
    EXPECT_THAT(parseVariants("two words,\u00A0x\n,"), ElementsAre("two words", "x"));
    EXPECT_THAT(parseVariants(" , "), IsEmpty());
    EXPECT_THAT(parseVariants(""), IsEmpty());
}

} // namespace
} // namespace tavrin
