#include "support/log/LogCapture.h"
#include "support/text/Regex.h"
#include "support/text/Unicode.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

namespace tavrin {
namespace {

std::vector<std::string> textsOf(const std::vector<RegexMatch>& matches) {
    std::vector<std::string> result;
    result.reserve(matches.size());
    for (const RegexMatch& match : matches)
        result.emplace_back(match.text());
    return result;
}

RegexMatch firstOf(const Regex& expression, std::string_view text, std::size_t from = 0) {
    const auto match = expression.first(text, from);
    if (!match) throw std::runtime_error("no match");
    return *match;
}

TEST(Regex, speaks_the_dialect_that_the_tables_are_written_in) {
    struct Row {
        const char* pattern;
        Regex::Case letterCase;
        const char* text;
        std::vector<std::string> found;
    };
    const auto any = Regex::Case::insensitive;
    const auto exact = Regex::Case::sensitive;
    for (const Row& row : std::vector<Row>{
             {R"(\bmeet\b)", exact, "meet meeting Meet", {"meet"}},
             {R"(\bmeet\b)", any, "meet meeting Meet", {"meet", "Meet"}},
             {"(?i)STRASSE", exact, "die Straße", {"Straße"}},
             {R"((?<=\$)\d+)", exact, "$15 and 15", {"15"}},
             {"(?m)^\\w+$", exact, "one\ntwo three\nvier", {"one", "vier"}},
             {"^\\w+", exact, "one\ntwo", {"one"}},
             {R"(\p{L}+)", exact, "naïve—語 1", {"naïve", "語"}},
             {"x*", exact, "axb", {"", "x", "", ""}},
         }) {
        EXPECT_EQ(textsOf(Regex(row.pattern, row.letterCase).all(row.text)), row.found) << row.pattern;
    }
}

TEST(Regex, ranges_are_bytes_of_the_text_as_given) {
    const std::string text = "é👨\xff"
                             "语 go";
    const RegexMatch match = firstOf(Regex("(\\ufffd)(.)\\s(go)"), text);
    EXPECT_EQ(match.range(), (ByteRange{6, text.size()}));
    EXPECT_EQ(match.groupRange(2), (ByteRange{7, 10}));
    EXPECT_EQ(match.group(3), "go");
    EXPECT_EQ(firstOf(Regex("."), text, 2).text(), "👨");
    EXPECT_EQ(firstOf(Regex("."), text, 3).text(), "\xff"); // from within a code point: the next one
    EXPECT_FALSE(Regex("$^|.").first(text, text.size()));
    EXPECT_FALSE(Regex("").first(text, text.size() + 1));
    // A search from the middle still sees what stands before.
    EXPECT_EQ(firstOf(Regex("(?<=a )b"), "a b", 2).range(), (ByteRange{2, 3}));
    EXPECT_FALSE(Regex("^b").first("b b", 2));
}

TEST(Regex, groups_by_number_and_name) {
    const Regex time(R"((?<hour>\d+)(?::(?<minute>\d+))?)");
    const RegexMatch whole = firstOf(time, "at 10:30");
    EXPECT_EQ(whole.group("hour"), "10");
    EXPECT_EQ(whole.group("minute"), "30");
    const RegexMatch half = firstOf(time, "at 10");
    for (const char* name : {"minute", "second"})
        EXPECT_EQ(half.group(name), std::nullopt) << name;
    for (const int number : {2, 7})
        EXPECT_EQ(half.group(number), std::nullopt) << number;
}

TEST(Regex, replacing) {
    const Regex number(R"(\d+)");
    EXPECT_EQ(number.replaced("é1, 22", [](const RegexMatch& m) { return "<" + std::string(m.text()) + ">"; }),
              "é<1>, <22>");
    EXPECT_EQ(number.replaced("1 2", R"($0\1)"), R"($0\1 $0\1)");
    EXPECT_EQ(number.replaced("none\xff", "x"), "none\xff");
    EXPECT_EQ(Regex("x*").replaced("ab", "-"), "-a-b-");
}

TEST(Regex, an_escaped_literal_matches_itself_only_and_a_whole_match_takes_the_alternative_that_fits) {
    for (const std::string literal : {"C++ (v2.0) [a-b] {1}|^$?*#&~/", R"(\Q.\E\d)", "é 語\n", "a b"}) {
        EXPECT_TRUE(Regex(Regex::escaped(literal)).matchesWhole(literal)) << literal;
        EXPECT_FALSE(Regex(Regex::escaped(literal)).matchesWhole(literal + "x")) << literal;
    }
    EXPECT_FALSE(Regex(Regex::escaped("a.c")).isFoundIn("abc"));
    EXPECT_TRUE(Regex("[a-z]+|[a-z]+1").matchesWhole("ab1"));
}

TEST(Regex, bad_patterns_throw) {
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
