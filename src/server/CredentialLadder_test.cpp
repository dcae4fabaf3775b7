#include "platform/fake/FakeCredentialStore.h"
#include "server/CredentialLadder.h"
#include "support/async/TaskTestSupport.h"
#include "support/log/LogCapture.h"

namespace tavrin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Item = std::pair<std::string, std::string>;

const std::vector<Item> items{{"so.tavrin.TavrinAssistant", "TavrinAPIToken"},
                              {"so.tavrin.TavrinAssistant", "LorvexAPIToken"},
                              {"so.nimbrel.LorvexAssistant", "LorvexAPIToken"},
                              {"so.nimbrel.LorvexAssistant", "TavrinAPIToken"}};

class CredentialLadderTest : public TaskTest {
protected:
    std::optional<std::string> load() {
        std::optional<std::string> token = "not run";
        tasks->spawn([&]() -> Task<void> { token = co_await ladder.loadAPIToken(); });
        time.runUntilIdle();
        return token;
    }
    void run(Task<void> task) {
        tasks->spawn(std::move(task));
        time.runUntilIdle();
    }

    LogCapture logged;
    FakeCredentialStore store;
    CredentialLadder ladder{store};
};

TEST_F(CredentialLadderTest, the_first_item_that_holds_a_token_counts_and_a_former_one_is_moved) {
    for (std::size_t first = 0; first < items.size(); ++first) {
        store.items.clear();
        for (std::size_t i = first; i < items.size(); ++i)
            store.items[items[i]] = " token" + std::to_string(i) + "\n";
        const std::string expected = "token" + std::to_string(first);
        EXPECT_EQ(load(), expected);
        if (first == 0) {
            EXPECT_EQ(store.items.size(), items.size());
        } else {
            EXPECT_THAT(store.items, ElementsAre(Pair(items[0], expected)));
        }
    }
    EXPECT_FALSE(logged.contains("token1"));
}

TEST_F(CredentialLadderTest, a_token_that_cannot_be_moved_is_given_and_stays) {
    store.items[items[3]] = "old";
    store.items[items[0]] = "  ";
    store.failsToSave = true;
    EXPECT_EQ(load(), "old");
    EXPECT_EQ(store.items.size(), 2U);
    store.items.clear();
    EXPECT_EQ(load(), std::nullopt);
}

TEST_F(CredentialLadderTest, saving_trims_and_clears_the_former_items_and_deleting_clears_all) {
    store.items[items[2]] = "old";
    run(ladder.saveAPIToken(" \n"));
    EXPECT_THAT(store.items, ElementsAre(Pair(items[2], "old")));
    run(ladder.saveAPIToken("\t new "));
    EXPECT_THAT(store.items, ElementsAre(Pair(items[0], "new")));
    store.items[items[1]] = "old";
    run(ladder.deleteAPIToken());
    EXPECT_THAT(store.items, IsEmpty());
    store.items[items[1]] = "old";
    store.failsToSave = true;
    run(ladder.saveAPIToken("new"));
    EXPECT_THAT(errors, ElementsAre("Failed to save credential."));
    EXPECT_THAT(store.items, ElementsAre(Pair(items[1], "old")));
}

} // namespace
} // namespace tavrin
