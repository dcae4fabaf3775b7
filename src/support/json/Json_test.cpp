#include "support/files/FileError.h"
#include "support/files/MemoryFolder.h"
#include "support/json/Json.h"

#include <gmock/gmock.h>

#include <cmath>

namespace tavrin {
namespace {

TEST(Json, hostile_texts_are_refused_with_their_source_and_never_quoted) {
    const std::string deep(65, '['), endless(1'000'000, '[');
    for (const std::string& text : std::vector<std::string>{
             "", "[1,]", "{\"secret\":1} x", "nan", "1e999", "\"secret\xff\"", "\"\\ud800\"", "{'secret':1}",
             "\"secret\nb\"", deep + std::string(65, ']'), endless, std::string(1'000'000, '{')}) {
        try {
            parseJson(text, "server");
            ADD_FAILURE() << text.substr(0, 40);
        } catch (const JsonError& error) {
            EXPECT_EQ(error.source(), "server");
            EXPECT_THAT(error.what(), testing::StartsWith("server: "));
            EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr("secret")));
        }
    }
}

TEST(Json, limits_are_inclusive_and_a_file_beyond_them_is_damaged_while_a_missing_one_is_not) {
    EXPECT_NO_THROW(parseJson(std::string(64, '[') + std::string(64, ']'), "t"));
    EXPECT_NO_THROW(parseJson(R"(["[[[[\"[[[["])", "t", {.depth = 1}));
    EXPECT_NO_THROW(parseJson("[12]", "t", {.bytes = 4}));
    EXPECT_THROW(parseJson("[123]", "t", {.bytes = 4}), JsonError);
    MemoryFolder folder;
    folder.writeAtomically("large.json", "[123]");
    EXPECT_THROW(readJson(folder, "large.json", {.bytes = 4}), JsonError);
    EXPECT_THROW(readJson(folder, "missing.json"), FileError);
}

TEST(Json, getters_give_nothing_for_the_wrong_type) {
    const Json object = parseJson(R"({"s":"é","b":true,"n":1.5,"whole":3.0,"i":-7,"big":18446744073709551615,
        "top":9223372036854775807,"over":9223372036854775808,"float":1e300,"null":null,"a":[1],"o":{"k":1}})",
                                  "t");
    EXPECT_EQ(numberAt(object, "i"), -7.0);
    EXPECT_EQ(integerAt(object, "whole"), 3);
    EXPECT_EQ(integerAt(object, "top"), std::numeric_limits<std::int64_t>::max());
    for (const char* key : {"n", "big", "over", "float", "s", "b", "null", "a", "missing"})
        EXPECT_EQ(integerAt(object, key), std::nullopt) << key;
    for (const char* key : {"null", "missing", "o"}) {
        EXPECT_EQ(boolAt(object, key), std::nullopt) << key;
        EXPECT_EQ(numberAt(object, key), std::nullopt) << key;
        EXPECT_EQ(stringAt(object, key), std::nullopt) << key;
        EXPECT_EQ(arrayAt(object, key), nullptr) << key;
    }
    EXPECT_EQ(objectAt(object, "a"), nullptr);
    EXPECT_EQ(stringAt(parseJson("[1]", "t"), "s"), std::nullopt);
    EXPECT_EQ(numberIn(Json(std::nan(""))), std::nullopt);
    EXPECT_EQ(integerIn(Json(HUGE_VAL)), std::nullopt);
}

TEST(Json, writing_keeps_the_order_of_keys_and_never_throws) {
    Json object;
    object["z"] = "a\xff";
    object["a"] = std::nan("");
    EXPECT_EQ(compactText(object), "{\"z\":\"a\ufffd\",\"a\":null}");
    EXPECT_EQ(prettyText(object), "{\n  \"z\": \"a\ufffd\",\n  \"a\": null\n}\n");
    EXPECT_EQ(compactText(parseJson(R"({"z":0.1,"b":-0.0,"a":"\u00e9\n"})", "t")), R"({"z":0.1,"b":-0.0,"a":"é\n"})");
}

} // namespace
} // namespace tavrin
