#include "speech/SpeechError.h"
#include "speech/TestTokenizer.h"
#include "speech/WordAlignment.h"

#include <gtest/gtest.h>

namespace tavrin {
namespace {

TEST(WordAlignment, the_path_follows_the_cheap_cells) {
    // Rows 0, 1, 2 are cheap in columns 0-2, 3-4, 5-6.
    std::vector<float> cost(21, 1.0F);
    for (const auto& [row, column] : {std::pair{0UL, 0UL}, {0, 1}, {0, 2}, {1, 3}, {1, 4}, {2, 5}, {2, 6}})
        cost[row * 7 + column] = 0.0F;
    EXPECT_EQ(warpedStarts(cost, 3, 7), (std::vector<std::size_t>{0, 3, 5}));
    EXPECT_EQ(warpedStarts(std::vector<float>(4, 1.0F), 4, 1), (std::vector<std::size_t>{0, 0, 0, 0}));
    EXPECT_THROW((void)warpedStarts(cost, 4, 7), SpeechError);
    EXPECT_THROW((void)warpedStarts({}, 0, 0), SpeechError);
}

TEST(WordAlignment, tokens_become_words_with_their_marks) {
    const auto tokenizer = test::tinyTokenizer({" the", " end"});
    const auto split = [&](const std::string& text, const char* language) {
        const auto tokens = tokenizer.encode(text);
        std::vector<std::string> result;
        for (const auto& [begin, end] : wordRanges(tokens, tokenizer, language))
            result.push_back(tokenizer.decode(std::span(tokens).subspan(begin, end - begin)));
        return result;
    };
    EXPECT_EQ(split(" the end, 'Größe' ok!", "en"), (std::vector<std::string>{" the", " end,", " 'Größe'", " ok!"}));
    EXPECT_EQ(split("日本。", "ja"), (std::vector<std::string>{"日", "本。"}));
    EXPECT_TRUE(split("", "en").empty());
}

TEST(WordAlignment, attention_gives_each_word_its_time) {
    const auto tokenizer = test::tinyTokenizer({" one", " two"});
    const int time = tokenizer.special().timeTokenBegin;
    DecodingResult result{
        .language = "en",
        .tokens = {time, tokenizer.encode(" one").front(), tokenizer.encode(" two").front(), time + 60},
        .tokenLogProbs = {0, -0.5F, 0, 0}};
    // The first time looks at the lead, "one" at 0.4 s, "two" at 0.8 s, the last time behind 1.0 s.
    result.alignment = {.heads = 2, .positions = 70};
    const std::pair<int, int> looks[]{{0, 20}, {20, 40}, {40, 50}, {50, 60}, {60, 70}};
    for (const auto& [begin, end] : looks)
        for (int head = 0; head < 2; ++head)
            for (int position = 0; position < 70; ++position)
                result.alignment.rows.push_back(position >= begin && position < end ? 0.05F : 0.001F);
    const auto words = alignedWords(result, tokenizer, 70);
    ASSERT_EQ(words.size(), 2U);
    EXPECT_EQ(words[0].word, " one");
    EXPECT_NEAR(words[0].probability, 0.6065F, 1e-3F);
    for (const auto& [word, start, end] : {std::tuple{0U, 0.4F, 0.8F}, std::tuple{1U, 0.8F, 1.0F}}) {
        EXPECT_NEAR(words[word].start, start, 0.05F);
        EXPECT_NEAR(words[word].end, end, 0.05F);
    }

    result.alignment.rows.resize(10);
    EXPECT_THROW((void)alignedWords(result, tokenizer, 70), SpeechError);
}

} // namespace
} // namespace tavrin
