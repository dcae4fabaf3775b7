#include "support/async/VirtualTime.h"
#include "support/observe/Published.h"

#include <gmock/gmock.h>

#include <memory>
#include <vector>

namespace tavrin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PublishedTest : public testing::Test {
protected:
    static auto note(std::vector<int>& into) {
        return [&into](const int& v) { into.push_back(v); };
    }

    VirtualTime time;
    std::unique_ptr<Published<int>> value = std::make_unique<Published<int>>(time.main(), 1);
    std::vector<int> told;
};

TEST_F(PublishedTest, observers_are_told_once_per_turn_with_the_latest_value_and_only_of_changes) {
    const Subscription subscription = value->observe(note(told));
    time.main().post([&] {
        *value = 2;
        *value = 3;
        EXPECT_EQ(value->get(), 3);
        EXPECT_THAT(told, IsEmpty());
    });
    time.runUntilIdle();
    EXPECT_THAT(told, ElementsAre(3));

    *value = 3;
    EXPECT_EQ(time.pendingJobs(), 0);
    value->edit([](int& v) { v += 4; });
    time.runUntilIdle();
    EXPECT_THAT(told, ElementsAre(3, 7));
}

TEST_F(PublishedTest, a_change_made_by_an_observer_is_told_in_a_further_turn_to_all) {
    const Subscription first = value->observe([&](const int& v) {
        told.push_back(v);
        if (v < 4) value->set(v + 1);
    });
    std::vector<int> second;
    const Subscription other = value->observe(note(second));
    value->set(2);
    time.runUntilIdle();
    EXPECT_THAT(told, ElementsAre(2, 3, 4));
    EXPECT_THAT(second, ElementsAre(3, 4, 4));
}

TEST_F(PublishedTest, unsubscribing_inside_an_observer_ends_itself_and_those_that_come_next) {
    std::vector<int> after;
    Subscription own;
    Subscription next;
    const auto held = std::make_shared<int>(5);
    own = value->observe([&, held](const int& v) {
        own.cancel();
        next.cancel();
        told.push_back(v + *held); // its captures still live
    });
    next = value->observe(note(after));
    std::vector<int> last;
    const Subscription stays = value->observe(note(last));

    value->set(2);
    time.runUntilIdle();
    EXPECT_EQ(held.use_count(), 1);
    value->set(3);
    time.runUntilIdle();
    EXPECT_THAT(told, ElementsAre(7));
    EXPECT_THAT(after, IsEmpty());
    EXPECT_THAT(last, ElementsAre(2, 3));
}

TEST_F(PublishedTest, a_subscription_may_outlive_the_value_which_may_die_inside_an_observer) {
    const Subscription killer = value->observe([&](const int&) { value.reset(); });
    Subscription after = value->observe(note(told));
    value->set(2);
    time.runUntilIdle();
    EXPECT_EQ(value, nullptr);

    value = std::make_unique<Published<int>>(time.main(), 1);
    after = value->observe(note(told));
    value->set(2);
    value.reset();
    EXPECT_EQ(time.pendingJobs(), 0);
    EXPECT_THAT(told, IsEmpty());
}

} // namespace
} // namespace tavrin
