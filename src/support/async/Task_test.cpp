#include "support/async/Event.h"
#include "support/async/Race.h"
#include "support/async/RunOn.h"
#include "support/async/Task.h"
#include "support/async/TaskTestSupport.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

Task<int> immediately(int value) {
    co_return value;
}

TEST_F(TaskTest, a_hundred_thousand_children_one_after_another_do_not_grow_the_stack) {
    std::uintptr_t lowest = UINTPTR_MAX;
    std::uintptr_t highest = 0;
    const auto child = [&]() -> Task<int> {
        const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
        lowest = std::min(lowest, here);
        highest = std::max(highest, here);
        co_return 1;
    };
    int sum = 0;
    tasks->spawn([&]() -> Task<void> {
        for (int i = 0; i < 100'000; ++i)
            sum += co_await child();
    });
    time.advance(1s);
    EXPECT_EQ(sum, 100'000);
    EXPECT_LT(highest - lowest, 4096);
}

TEST_F(TaskTest, cancelling_ends_it_at_once_in_whatever_state_it_is) {
    Executor& worker = time.addExecutor();
    Event never;
    Event happening;
    const auto remote = [&] { return runOn(worker, [this](const std::stop_token&) { log.emplace_back("work"); }); };
    const auto child = [this]() -> Task<void> { co_await noteAfter(1s, "child"); };
    const auto run = [this] { time.runUntilIdle(); };
    const auto runOneJob = [this] { time.runUntil([this] { return log.size() == 1; }, 1s); };

    struct State {
        const char* name;
        std::function<Task<void>()> wait;
        std::function<void()> reach;
        std::size_t pendingBefore;
        std::size_t pendingAfter = 0; // jobs elsewhere, and results that nobody will take
        Log logBefore = {"begun"};
    };
    const std::vector<State> states = {
        {"not begun", child, [] {}, 1, 0, {}},
        {"asleep", [this] { return noteAfter(1s, "x"); }, run, 1},
        {"awaiting a child", child, run, 1},
        {"child ended, not yet told", [] -> Task<void> { co_await immediately(1); }, runOneJob, 1},
        {"waiting for an event", [&] -> Task<void> { co_await never.wait(); }, run, 0},
        {"event came, not yet told", [&] -> Task<void> { co_await happening.wait(); },
         [&] {
             time.runUntilIdle();
             happening.set();
         },
         1},
        {"in a race", [&] -> Task<void> { co_await race(child(), noteAfter(2s, "other")); }, run, 2},
        {"race over, not yet told", [&] -> Task<void> { co_await race(immediately(1), child()); }, runOneJob, 1},
        {"in a race with time", [&] -> Task<void> { co_await race(child(), 2s); }, run, 2},
        {"work posted elsewhere, not begun", remote,
         [&] {
             time.stall(worker, 1s);
             time.runUntilIdle();
         },
         1, 1},
        {"work done elsewhere, not yet told",
         remote,
         [&] {
             time.stall(worker, 1s);
             time.runUntilIdle();
             time.stall(time.main(), 2s);
             time.advance(1s);
         },
         1,
         1,
         {"begun", "work"}},
    };
    for (const State& state : states) {
        SCOPED_TRACE(state.name);
        log.clear();
        TaskHandle handle = tasks->spawn([&]() -> Task<void> {
            const Local local(log, "root");
            log.emplace_back("begun");
            co_await state.wait();
            log.emplace_back("went on");
        });
        state.reach();
        EXPECT_EQ(log, state.logBefore);
        EXPECT_EQ(time.pendingJobs(), state.pendingBefore);

        handle.cancel();
        EXPECT_EQ(time.pendingJobs(), state.pendingAfter);
        EXPECT_EQ(std::ranges::count(log, "root gone"), std::ranges::count(log, "begun"));
        EXPECT_TRUE(tasks->isEmpty());
        const Log atCancel = log;
        time.advance(1h);
        EXPECT_EQ(log, atCancel);
    }
}

TEST_F(TaskTest, an_event_lets_its_waiters_go_in_the_order_in_which_they_came) {
    auto event = std::make_unique<Event>();
    const auto waiter = [&](std::string name) -> Task<void> {
        co_await event->wait();
        log.push_back(name);
    };
    tasks->spawn(waiter("a"));
    TaskHandle b = tasks->spawn(waiter("b"));
    tasks->spawn(waiter("c"));
    time.runUntilIdle();
    b.cancel();
    event->set();
    EXPECT_THAT(log, IsEmpty());
    tasks->spawn(waiter("late"));
    time.runUntilIdle();
    EXPECT_THAT(log, ElementsAre("a", "c", "late"));

    event->reset();
    tasks->spawn(waiter("left behind"));
    time.runUntilIdle();
    event.reset();
    time.runUntilIdle();
    EXPECT_FALSE(tasks->isEmpty());
    tasks->clear();
    EXPECT_EQ(log.size(), 3);
}

TEST_F(TaskTest, an_exception_passes_through_awaits_and_destroys_what_it_leaves) {
    const auto middle = [this]() -> Task<std::unique_ptr<int>> {
        const Local local(log, "middle");
        co_await throwAfter(1s, "deep");
        co_return nullptr;
    };
    tasks->spawn([&]() -> Task<void> {
        try {
            co_await middle();
        } catch (const std::runtime_error& error) {
            log.emplace_back(error.what());
        }
    });
    time.advance(1s);
    EXPECT_THAT(log, ElementsAre("middle gone", "deep"));
    EXPECT_THAT(errors, IsEmpty());
}

} // namespace

} // namespace tavrin
