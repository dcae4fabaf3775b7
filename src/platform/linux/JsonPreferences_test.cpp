#include "platform/linux/JsonPreferences.h"
#include "support/async/VirtualTime.h"
#include "support/files/MemoryFolder.h"
#include "support/json/Json.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

const std::string path = "app/preferences.json";

class JsonPreferencesTest : public testing::Test {
protected:
    JsonPreferencesTest() { folder.makeFolders("app"); }

    void open() {
        preferences.reset();
        preferences = std::make_unique<JsonPreferences>(folder, path, storage);
    }
    void openWith(const std::string& text) {
        preferences.reset();
        folder.writeAtomically(path, text);
        open();
    }
    Json onDisk() { return readJson(folder, path); }

    LogCapture logged;
    VirtualTime time;
    MemoryFolder folder;
    Executor& storage = time.addExecutor();
    std::unique_ptr<JsonPreferences> preferences;
};

TEST_F(JsonPreferencesTest, values_keep_their_types_over_launches) {
    open();
    preferences->set("b", false);
    preferences->set("i", std::int64_t{-3});
    preferences->set("n", 120.0);
    preferences->set("s", std::string("“text”"));
    preferences->set("gone", true);
    preferences->remove("gone");
    open();
    EXPECT_EQ(preferences->boolean("b"), false);
    EXPECT_EQ(preferences->integer("i"), -3);
    EXPECT_EQ(preferences->number("i"), -3.0);
    EXPECT_EQ(preferences->number("n"), 120.0);
    EXPECT_EQ(preferences->integer("n"), std::nullopt);
    EXPECT_EQ(preferences->string("s"), "“text”");
    EXPECT_EQ(preferences->value("gone"), std::nullopt);
}

TEST_F(JsonPreferencesTest, lists_and_data_stand_as_json_in_the_file_and_what_it_does_not_know_stays) {
    using Texts = std::vector<std::string>;
    openWith(R"({"big":18446744073709551615,"nothing":null,"list":["a","b"],"none":[],"mixed":["a",1],)"
             R"("object":{"k":[1.5,null]},"older":"text"})");
    for (const char* key : {"big", "nothing"})
        EXPECT_EQ(preferences->value(key), std::nullopt) << key;
    EXPECT_EQ(preferences->strings("list"), (Texts{"a", "b"}));
    EXPECT_EQ(preferences->json("list"), (Json{"a", "b"}));
    EXPECT_EQ(preferences->strings("none"), Texts{});
    EXPECT_EQ(preferences->strings("mixed"), std::nullopt);
    EXPECT_EQ(preferences->json("mixed"), (Json{"a", 1}));
    EXPECT_EQ(compactText(*preferences->json("object")), R"({"k":[1.5,null]})");
    EXPECT_EQ(preferences->json("older"), std::nullopt);
    EXPECT_EQ(preferences->string("list"), std::nullopt);
    preferences->set("list", Texts{"c"});
    preferences->set("object", JsonData{Json{{"z", 1}, {"a", Json::array()}}});
    preferences.reset();
    EXPECT_EQ(compactText(onDisk()),
              R"({"big":18446744073709551615,"nothing":null,"list":["c"],"none":[],"mixed":["a",1],)"
              R"("object":{"z":1,"a":[]},"older":"text"})");
}

TEST_F(JsonPreferencesTest, data_that_could_not_be_read_again_are_refused) {
    openWith(R"({"a":1})");
    Json deep = 1;
    for (int i = 0; i < 61; ++i)
        deep = Json::array({deep});
    preferences->set("a", JsonData{deep});
    preferences->set("a", JsonData{Json{{"x", std::nan("")}}});
    EXPECT_EQ(preferences->integer("a"), 1);
    preferences->set("deepest", JsonData{deep[0]});
    open();
    EXPECT_EQ(preferences->json("deepest"), deep[0]);
    preferences->set("a", std::string(17 << 20, 'x'));
    open();
    EXPECT_EQ(preferences->integer("a"), 1);
    EXPECT_FALSE(preferences->damageAtStart());
}

TEST_F(JsonPreferencesTest, some_changes_are_one_write_soon_after_and_a_power_cut_leaves_old_or_new) {
    openWith(R"({"a":1})");
    const std::size_t before = folder.stepCount();
    preferences->set("a", std::int64_t{1}); // as it is
    time.advance(2s);
    EXPECT_EQ(folder.stepCount(), before);
    for (int i = 2; i <= 10; ++i)
        preferences->set("a", std::int64_t{i});
    time.advance(499ms);
    EXPECT_EQ(folder.stepCount(), before);
    time.advance(1ms);
    EXPECT_EQ(onDisk()["a"], 10);
    const std::size_t perWrite = folder.stepCount() - before;
    for (std::size_t steps = 0; steps <= perWrite; ++steps) {
        openWith(R"({"a":1})");
        folder.cutPowerAfter(steps);
        preferences->set("a", std::int64_t{2});
        time.advance(1s);
        folder.restart({.namesSurvive = steps % 2 == 0});
        EXPECT_TRUE(onDisk()["a"] == 1 || onDisk()["a"] == 2) << steps;
    }
}

TEST_F(JsonPreferencesTest, a_write_that_fails_is_tried_again_with_the_next_change_and_at_the_end) {
    open();
    folder.limitCapacity(0);
    preferences->set("a", true);
    time.advance(1s);
    EXPECT_TRUE(logged.contains("not saved"));
    folder.limitCapacity(std::nullopt);
    preferences->set("b", true);
    time.advance(1s);
    EXPECT_EQ(onDisk(), (Json{{"a", true}, {"b", true}}));
    folder.failNext(MemoryFolder::Step::create, EIO);
    preferences->set("c", true);
    time.advance(1s);
    preferences.reset();
    EXPECT_EQ(onDisk()["c"], true);
}

TEST_F(JsonPreferencesTest, a_damaged_file_is_moved_aside_each_under_a_name_of_its_own) {
    for (const char* text : {"{\"a\":", "[1]", ""}) {
        openWith(text);
        EXPECT_EQ(preferences->value("a"), std::nullopt);
        EXPECT_TRUE(preferences->damageAtStart() && preferences->damageAtStart()->keptAs);
        preferences->set("b", true);
        open();
        EXPECT_FALSE(preferences->damageAtStart());
        preferences.reset();
        EXPECT_EQ(onDisk(), (Json{{"b", true}}));
    }
    EXPECT_THAT(folder.list("app"), ElementsAre("preferences.json", "preferences.json.damaged",
                                                "preferences.json.damaged-2", "preferences.json.damaged-3"));
    EXPECT_EQ(folder.read(path + ".damaged", 100), "{\"a\":");
}

TEST_F(JsonPreferencesTest, a_file_that_can_neither_be_read_nor_moved_is_not_written_over) {
    folder.writeAtomically(path, R"({"precious":1})");
    folder.failNext(MemoryFolder::Step::read, EIO);
    folder.failNext(MemoryFolder::Step::rename, EACCES);
    open();
    ASSERT_TRUE(preferences->damageAtStart());
    EXPECT_EQ(preferences->damageAtStart()->file, folder.location(path));
    EXPECT_EQ(preferences->damageAtStart()->keptAs, std::nullopt);
    preferences->set("a", true);
    EXPECT_EQ(preferences->boolean("a"), true);
    time.advance(1s);
    preferences.reset();
    EXPECT_EQ(folder.read(path, 100), R"({"precious":1})");
}

} // namespace
} // namespace tavrin
