#include "speech/SpeechError.h"
#include "speech/TestTokenizer.h"
#include "speech/Tokenizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavrin {
namespace {

using testing::HasSubstr;

TEST(Tokenizer, text_survives_the_way_to_ids_and_back) {
    const auto tokenizer = test::tinyTokenizer({" the", "the", " meeting", "er"});
    for (const std::string text :
         {"the meeting", " the  the", "Größe 12½", "日本語\n", "a'll the", "\t\x01~", "🙂 ok", ""})
        EXPECT_EQ(tokenizer.decode(tokenizer.encode(text)), text);
}

TEST(Tokenizer, pairs_are_merged_in_the_order_of_their_rank_within_words) {
    const auto tokenizer = test::tinyTokenizer({" the", "the", "er"});
    const auto idOf = [&](const std::string& word) { return tokenizer.encode(word).front(); };
    EXPECT_EQ(tokenizer.encode("the the").size(), 2U);
    EXPECT_EQ(tokenizer.encode("there").size(), 3U); // the, r, e: "th" and "the" come before "er"
    EXPECT_EQ(tokenizer.encode("the  the"), (std::vector<int>{idOf("the"), ' ', idOf(" the")}));
}

TEST(Tokenizer, special_and_time_tokens_are_found_and_left_out_of_texts) {
    const auto tokenizer = test::tinyTokenizer();
    const auto& special = tokenizer.special();
    EXPECT_EQ(tokenizer.languageTokens().size(), 3U);
    EXPECT_EQ(tokenizer.languageTokens().at("de"), special.englishToken + 1);
    EXPECT_EQ(tokenizer.size(), static_cast<std::size_t>(special.timeTokenBegin) + 1501);
    const std::vector<int> ids{special.timeTokenBegin + 75, 'H', 'i', special.endToken, -5, 1 << 20};
    EXPECT_EQ(tokenizer.decode(ids), "Hi");
    EXPECT_EQ(tokenizer.decode(ids, false), "<|1.50|>Hi<|endoftext|>");
    EXPECT_EQ(tokenizer.decode(std::vector{tokenizer.encode("é").front()}), "\ufffd"); // a character that was cut
}

TEST(Tokenizer, garbage_is_refused_with_the_file_name) {
    const std::string good = test::tinyTokenizerText({"the"});
    const auto changed = [&](const char* from, const std::string& to) {
        std::string text = good;
        const auto at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        return text.replace(at, std::string(from).size(), to);
    };
    const std::pair<std::string, const char*> cases[]{
        {"", "no JSON"},
        {"[1, 2]", "no model"},
        {"{\"model\": 3}", "no vocabulary"},
        {"{\"model\": {\"vocab\": {}}}", "no merges"},
        {"{\"model\": {\"vocab\": {\"a\": -1}, \"merges\": []}}", "in range"},
        {"{\"model\": {\"vocab\": {\"a\": \"b\"}, \"merges\": []}}", "in range"},
        {"{\"model\": {\"vocab\": {\"a\": 1}, \"merges\": [\"a b\"]}}", "names no token"},
        {"{\"model\": {\"vocab\": {\"a\": 1}, \"merges\": [7]}}", "is no pair"},
        {"{\"model\": {\"vocab\": {\"a\": 1}, \"merges\": []}, \"added_tokens\": [{}]}", "no id or text"},
        {"{\"model\": {\"vocab\": {\"a\": 1}, \"merges\": []}}", "<|endoftext|>"},
        {changed("<|startofprev|>", "<|somethingelse|>"), "<|startofprev|>"},
        {changed("<|de|>", "de"), "language"},
    };
    for (const auto& [text, reason] : cases) {
        try {
            (void)Tokenizer::parse(text, "folder/tokenizer.json");
            ADD_FAILURE() << "taken: " << text.substr(0, 80);
        } catch (const SpeechError& error) {
            EXPECT_THAT(error.what(), HasSubstr("folder/tokenizer.json"));
            EXPECT_THAT(error.what(), HasSubstr(reason));
        }
    }
    EXPECT_THROW((void)Tokenizer::load("/nowhere/tokenizer.json"), SpeechError);
}

} // namespace
} // namespace tavrin
