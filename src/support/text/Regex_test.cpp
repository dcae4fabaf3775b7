#include "support/log/LogCapture.h"
#include "support/text/Regex.h"
#include "support/text/Unicode.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

namespace tavrin {
namespace {

RegexMatch firstOf(const Regex& expression, std::string_view text, std::size_t from = 0) {
    const auto match = expression.first(text, from);
    if (!match) throw std::runtime_error("no match");
    return *match;
}

TEST(Regex, ranges_are_bytes_of_the_text_as_given) {
    const std::string text = "é👨\xff"
                             "语 go";
    const RegexMatch match = firstOf(Regex("(\\ufffd)(.)\\s(go)"), text);
    EXPECT_EQ(match.range(), (ByteRange{6, text.size()}));
    EXPECT_EQ(match.group(2), "语");
    EXPECT_EQ(match.group(3), "go");
    EXPECT_EQ(firstOf(Regex("(x)?go"), text).group(1), std::nullopt);
    EXPECT_EQ(firstOf(Regex("."), text, 2).text(), "👨");
    EXPECT_EQ(firstOf(Regex("."), text, 3).text(), "\xff"); // from within a code point: the next one
    EXPECT_FALSE(Regex("$^|.").first(text, text.size()));
    EXPECT_FALSE(Regex("").first(text, text.size() + 1));
    // A search from the middle still sees what stands before.
    EXPECT_EQ(firstOf(Regex("(?<=a )b"), "a b", 2).range(), (ByteRange{2, 3}));
    EXPECT_FALSE(Regex("^b").first("b b", 2));
}

TEST(Regex, replacing) {
    const Regex number(R"(\d+)");
    EXPECT_EQ(number.replaced("é1, 22", [](const RegexMatch& m) { return "<" + std::string(m.text()) + ">"; }),
              "é<1>, <22>");
    EXPECT_EQ(number.replaced("1 2", R"($0\1)"), R"($0\1 $0\1)");
    EXPECT_EQ(number.replaced("none\xff", "x"), "none\xff");
    EXPECT_EQ(Regex("x*").replaced("ab", "-"), "-a-b-");
}

TEST(Regex, an_escaped_literal_matches_itself_alone_and_a_bad_pattern_throws) {
    for (const std::string literal : {"C++ (v2.0) [a-b] {1}|^$?*#&~/", R"(\Q.\E\d)", "é 語\n", "a b"})
        EXPECT_EQ(Regex(Regex::escaped(literal)).replaced(literal + "x", "-"), "-x") << literal;
    EXPECT_FALSE(Regex(Regex::escaped("a.c")).isFoundIn("abc"));
    for (const char* bad : {"(", "[a", "a{2,1}", "*", "\\"})
        EXPECT_THROW(Regex{bad}, std::invalid_argument) << bad;
}

TEST(Regex, a_runaway_search_ends_with_a_warning_that_does_not_quote_the_text) {
    const LogCapture log;
    const std::string text = std::string(60, 'q') + "!";
    EXPECT_FALSE(Regex("^(q+)+$").isFoundIn(text));
    EXPECT_EQ(Regex("^(q+)+$").replaced(text, ""), text);
    ASSERT_EQ(log.lines().size(), 2u);
    EXPECT_TRUE(log.contains("^(q+)+$"));
    EXPECT_FALSE(log.contains("qqq"));
}

TEST(Regex, one_expression_serves_several_threads) {
    const Regex word(R"((\p{L})\w*)");
    const std::string text = "zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich";
    const auto initials = [&] {
        return word.replaced(text, [](const RegexMatch& match) { return std::string(match.group(1).value_or("?")); });
    };
    std::vector<std::string> results(4);
    {
        std::vector<std::jthread> threads;
        threads.reserve(results.size());
        for (std::string& result : results)
            threads.emplace_back([&] {
                for (int i = 0; i < 200; ++i)
                    result = initials() + std::to_string(characterCount(text));
            });
    }
    EXPECT_THAT(results, testing::Each("z B j V q ü d g S D63"));
}

} // namespace
} // namespace tavrin
