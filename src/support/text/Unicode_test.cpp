#include "support/text/Unicode.h"

#include <gmock/gmock.h>

namespace tavrin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string family = "👨‍👩‍👧"; // five code points, one character
const std::string eAcute = "e\u0301";            // two code points, one character
const std::string broken = "a\xff\xc3(\xe2\x82";

TEST(Unicode, characters_are_grapheme_clusters) {
    EXPECT_THAT(characters("a" + family + eAcute + "\r\n" + "é"), ElementsAre("a", family, eAcute, "\r\n", "é"));
    EXPECT_EQ(characterCount("a\r\nb"), 3u);
    EXPECT_EQ(characterCount(family + eAcute + "🇬🇧"), 3u);
    EXPECT_EQ(characterCount(""), 0u);
}

TEST(Unicode, first_and_last_characters_never_split_one) {
    const std::string text = "x" + eAcute + family + "y";
    EXPECT_EQ(firstCharacters(text, 2), "x" + eAcute);
    EXPECT_EQ(firstCharacters(text, 900), text);
    EXPECT_EQ(lastCharacters(text, 0), "");
    EXPECT_EQ(lastCharacters(text, 2), family + "y");
    EXPECT_EQ(lastCharacters(text, 4), text);
    EXPECT_EQ(lastCharacters("plain", 2), "in");
}

TEST(Unicode, boundaries_of_characters_are_found_at_any_byte) {
    const std::string text = "ab" + eAcute + family + "\r\nz";
    std::vector<std::size_t> boundaries;
    for (std::size_t position = 0; position <= text.size() + 1; ++position)
        if (isCharacterBoundary(text, position)) boundaries.push_back(position);
    EXPECT_THAT(boundaries, ElementsAre(0, 1, 2, 5, 5 + family.size(), 7 + family.size(), 8 + family.size()));
}

TEST(Unicode, words_are_split_at_any_white_space) {
    EXPECT_THAT(words(" one\ttwo\u00a0three\u3000four\r\nfive\u2028six "),
                ElementsAre("one", "two", "three", "four", "five", "six"));
    EXPECT_THAT(words("zero\u200bwidth ,"), ElementsAre("zero\u200bwidth", ","));
    EXPECT_THAT(words(" \n\t"), IsEmpty());
}

TEST(Unicode, case_follows_no_language) {
    EXPECT_EQ(lowercased("ISTANBUL ÄÖ ΣΑΣ"), "istanbul äö σας");
    EXPECT_EQ(uppercased("straße ﬁ"), "STRASSE FI");
    EXPECT_EQ(caseFolded("Straße"), "strasse");
    EXPECT_EQ(lowercased("A-Z[@`{"), "a-z[@`{");
    EXPECT_EQ(lowercasedAscii("\xffÄ\u212aİ A-Z[@`{"), "\xffÄ\u212aİ a-z[@`{");
    EXPECT_EQ(uppercased("a-z[@`{"), "A-Z[@`{");
}

TEST(Unicode, texts_are_equal_by_canonical_equivalence) {
    EXPECT_TRUE(sameText("caf" + eAcute, "café"));
    EXPECT_FALSE(sameText("café", "CAFÉ"));
    EXPECT_FALSE(sameText("ﬁ", "fi"));
    EXPECT_TRUE(sameTextIgnoringCase("CAFE\u0301", "café"));
    EXPECT_TRUE(sameTextIgnoringCase("STRASSE", "straße"));
    EXPECT_TRUE(sameTextIgnoringCase("\u1fc3", "\u0397\u0399")); // the iota subscript folds to a letter
    EXPECT_FALSE(sameTextIgnoringCase("", "a"));
    EXPECT_EQ(composed("e\u0301"), "é");
}

TEST(Unicode, trimming) {
    EXPECT_EQ(trimmed(" \u00a0\n a b \u3000"), "a b");
    EXPECT_EQ(trimmed(" \t "), "");
    EXPECT_EQ(trimmed("…“¡é!”.", isPunctuation), "é");
    EXPECT_EQ(trimmed("?!", isPunctuation), "");
    EXPECT_EQ(trimmed("- $5 -", isWhiteSpaceOrPunctuation), "$5");
    EXPECT_EQ(trimmedEnd("«a».", isPunctuation), "«a");
    EXPECT_EQ(trimmedEnd(" \t"), "");
}

TEST(Unicode, ill_formed_bytes_never_fail) {
    EXPECT_FALSE(isValidUtf8(broken));
    EXPECT_EQ(repairedUtf8(broken), "a\ufffd\ufffd(\ufffd");
    EXPECT_EQ(codePoints(broken), U"a\ufffd\ufffd(\ufffd");
    for (const char* bad : {"\xed\xa0\x80", "\xc0\x80", "\xf4\x90\x80\x80", "\xe2\x82", "\x80"}) {
        EXPECT_FALSE(isValidUtf8(bad));
        EXPECT_TRUE(isValidUtf8(repairedUtf8(bad)));
        for (const std::string& built : {lowercased(bad), uppercased(bad), caseFolded(bad), composed(bad)})
            EXPECT_TRUE(isValidUtf8(built)) << testing::PrintToString(built);
    }
    EXPECT_TRUE(isValidUtf8("\0 é 語 👨"));
    EXPECT_EQ(joined(characters(broken), ""), broken);
    EXPECT_EQ(trimmed("\xff \xff"), "\xff \xff");

    std::string text;
    for (const char32_t codePoint : {U'a', U'é', U'👨', char32_t{0xd800}, char32_t{0x110000}})
        appendUtf8(text, codePoint);
    EXPECT_EQ(text, "aé👨\ufffd\ufffd");
}

} // namespace
} // namespace tavrin
