#include "platform/fake/FakePreferences.h"
#include "server/VocabularyList.h"
#include "support/async/VirtualTime.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>

namespace tavrin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

const std::string listKey = "tavrin.vocabularyCorrections";

class VocabularyListTest : public testing::Test {
protected:
    void open() { list = std::make_unique<VocabularyList>(store, seeds, time.main()); }
    Texts words() {
        Texts result;
        for (const VocabularyCorrection& correction : list->loadVocabularyCorrections())
            result.push_back(correction.correct);
        return result;
    }
    /// As after the seeds of an earlier run.
    void openWith(const PreferenceValue& stored) {
        store.set("tavrin.vocabularyCorrectionsSeeded", true);
        store.set("tavrin.vocabularyCorrectionsBoostV2", true);
        store.set(listKey, stored);
        open();
    }

    LogCapture logged;
    VirtualTime time;
    FakePreferences store;
    VocabularySeeds seeds{.names = {"Tavrin", "Velmora"},
                          .corrections = {{"Cindrel", {"sindrel"}}, {"VELMORA", {"vell mora"}}},
                          .exampleHeard = {},
                          .exampleCorrect = {}};
    std::unique_ptr<VocabularyList> list = std::make_unique<VocabularyList>(store, seeds, time.main());
};

TEST_F(VocabularyListTest, the_seeds_come_once_and_the_entry_that_is_there_counts) {
    EXPECT_THAT(words(), ElementsAre("Tavrin", "Velmora", "Cindrel"));
    const auto before = list->loadVocabularyCorrections();
    EXPECT_EQ(before[0].variants, Texts{"Tavrin"});
    EXPECT_NE(before[0].id, before[1].id);
    open();
    EXPECT_EQ(list->loadVocabularyCorrections(), before);
    for (const VocabularyCorrection& each : before)
        list->deleteCorrection(each.id);
    open();
    EXPECT_THAT(words(), IsEmpty());
    EXPECT_EQ(store.json(listKey), Json::array());
}

TEST_F(VocabularyListTest, the_second_seed_alone_comes_to_a_list_of_an_earlier_version) {
    store.set("tavrin.vocabularyCorrectionsSeeded", true);
    store.set(listKey, JsonData{vocabularyJson(std::vector<VocabularyCorrection>{
                           {"00000000-0000-4000-8000-00000000000A", {"x"}, "CINDREL"}})});
    EXPECT_THAT(words(), ElementsAre("CINDREL", "VELMORA"));
}

TEST_F(VocabularyListTest, changes_are_stored_told_and_compiled) {
    std::vector<std::size_t> told;
    const Subscription subscription =
        list->observe([&](const VocabularyList::Corrections& now) { told.push_back(now.size()); });
    time.runUntilIdle();
    told.clear();
    const auto before = list->corrector();
    EXPECT_EQ(list->corrector(), before);
    EXPECT_EQ(before->corrected("sindrel tavrin"), "Cindrel tavrin");
    list->addCorrection({"tavern"}, "Tavrin");
    const auto after = list->corrector();
    EXPECT_NE(after, before);
    EXPECT_EQ(after->corrected("tavern"), "Tavrin");
    EXPECT_EQ(before->corrected("tavern"), "tavern"); // whoever has it goes on with it
    time.runUntilIdle();
    EXPECT_THAT(told, ElementsAre(4));

    const VocabularyCorrection added = list->loadVocabularyCorrections().back();
    list->updateCorrection(added.id, {"tavern", "cavern"}, "Tavrin!");
    list->updateCorrection("gone", {"a"}, "b");
    list->deleteCorrection("gone");
    time.runUntilIdle();
    EXPECT_THAT(told, ElementsAre(4, 4));
    open();
    EXPECT_EQ(list->loadVocabularyCorrections().back(),
              (VocabularyCorrection{added.id, {"tavern", "cavern"}, "Tavrin!"}));
}

TEST_F(VocabularyListTest, what_cannot_be_read_counts_as_empty_and_is_kept_aside_before_the_next_save) {
    const Json broken = parseJson(R"([{"id":"x","variants":["heard"],"correct":"precious"}])", "test");
    openWith(JsonData{broken});
    EXPECT_THAT(words(), IsEmpty());
    EXPECT_EQ(store.json(listKey), broken);
    list->addCorrection({"a"}, "b");
    EXPECT_EQ(store.json(listKey + ".damaged"), broken);
    list->addCorrection({"c"}, "d");
    openWith(std::string("text"));
    list->addCorrection({"a"}, "b");
    EXPECT_EQ(store.json(listKey + ".damaged"), broken);
    EXPECT_EQ(store.string(listKey + ".damaged-2"), "text");
    EXPECT_THAT(words(), ElementsAre("b"));
    EXPECT_TRUE(logged.contains("cannot be read"));
    EXPECT_FALSE(logged.contains("precious"));
}

TEST_F(VocabularyListTest, a_list_that_the_first_seed_replaces_is_kept_as_well) {
    openWith(JsonData{
        vocabularyJson(std::vector<VocabularyCorrection>{{"00000000-0000-4000-8000-00000000000A", {"x"}, "Own"}})});
    const auto own = store.json(listKey);
    store.remove("tavrin.vocabularyCorrectionsSeeded");
    EXPECT_THAT(words(), ElementsAre("Tavrin", "Velmora"));
    EXPECT_EQ(store.json(listKey + ".damaged"), own);
}

} // namespace
} // namespace tavrin
