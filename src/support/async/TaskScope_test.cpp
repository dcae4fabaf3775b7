#include "support/async/Race.h"
#include "support/async/TaskScope.h"
#include "support/async/TaskTestSupport.h"

#include <functional>
#include <memory>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

using TaskScopeTest = TaskTest;

/// Does on its destruction what it was told.
class OnExit final {
public:
    explicit OnExit(std::function<void()> action) : atExit(std::move(action)) {}
    OnExit(const OnExit&) = delete;
    OnExit& operator=(const OnExit&) = delete;
    ~OnExit() { atExit(); }

private:
    std::function<void()> atExit;
};

TEST_F(TaskScopeTest, a_task_that_clears_its_own_scope_runs_to_its_next_suspension_and_no_further) {
    struct Next {
        const char* name;
        std::function<Task<void>()> then;
    };
    const std::vector<Next> table = {
        {"it sleeps", [this] { return noteAfter(1s, "slept"); }},
        {"it awaits a child that would end at once",
         [this] -> Task<void> {
             log.emplace_back("ran");
             co_return;
         }},
        {"it races", [this] -> Task<void> { co_await race(noteAfter(1s, "one"), noteAfter(1s, "two")); }},
        {"it throws", [] -> Task<void> { throw std::runtime_error("after the end"); }},
    };
    const Log expected = {"bystander gone", "cleared", "child gone", "root gone"};
    for (const Next& next : table) {
        SCOPED_TRACE(next.name);
        log.clear();
        const auto child = [&]() -> Task<void> {
            const Local local(log, "child");
            tasks->clear();
            log.emplace_back("cleared");
            co_await next.then();
            log.emplace_back("went on");
        };
        tasks->spawn(noteAfter(1h, "bystander"));
        TaskHandle handle = tasks->spawn([&]() -> Task<void> {
            const Local local(log, "root");
            co_await race(child(), noteAfter(1h, "never begun"));
            log.emplace_back("went on");
        });
        time.runUntilIdle();
        EXPECT_EQ(log, expected);
        EXPECT_TRUE(tasks->isEmpty());
        EXPECT_FALSE(handle.isActive());
        time.advance(2h);
        EXPECT_EQ(log, expected);
    }
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(TaskScopeTest, a_task_may_destroy_the_controller_that_owns_its_scope) {
    tasks->spawn(noteAfter(1h, "other"));
    tasks->spawn([this]() -> Task<void> {
        const Local local(log, "root");
        co_await sleepFor(1s);
        tasks.reset();
        log.emplace_back("destroyed");
    });
    TaskHandle late = tasks->spawn(noteAfter(2s, "late"));
    time.advance(1h);
    EXPECT_THAT(log, ElementsAre("late gone", "other gone", "destroyed", "root gone"));
    late.cancel();
    EXPECT_FALSE(late.isActive());
    EXPECT_EQ(time.pendingJobs(), 0);
}

TEST_F(TaskScopeTest, destructors_of_a_cancelled_task_may_use_the_scope) {
    TaskHandle other;
    const auto leaving = [](std::function<void()> action) -> Task<void> {
        const OnExit onExit(std::move(action));
        co_await sleepFor(1h);
    };
    tasks->spawn(leaving([&] { tasks->clear(); }));
    other = tasks->spawn(noteAfter(1h, "other"));
    tasks->spawn(leaving([&] {
        other.cancel();
        tasks->spawn(noteAfter(0s, "spawned meanwhile"));
    }));
    time.runUntilIdle();
    tasks->clear();
    EXPECT_TRUE(tasks->isEmpty());

    TaskHandle dropped;
    TaskScope& dying = *tasks;
    tasks->spawn(leaving([&] { dropped = dying.spawn(noteAfter(0s, "spawned at the end")); }));
    tasks->spawn(leaving([&] { tasks.reset(); }));
    time.runUntilIdle();
    tasks->clear();
    EXPECT_EQ(tasks, nullptr);
    EXPECT_FALSE(dropped.isActive());
    time.advance(2h);
    EXPECT_THAT(log, ElementsAre("other gone"));
}

TEST_F(TaskScopeTest, a_handle_tells_how_its_task_ended_and_cancels_it_alone) {
    std::vector<TaskEnd> ends;
    const auto watch = [&](TaskHandle handle) -> Task<void> { ends.push_back(co_await handle.completion()); };
    TaskScope watchers(time.main());
    watchers.spawn(watch(tasks->spawn(noteAfter(1s, "finishes"))));
    watchers.spawn(watch(tasks->spawn(throwAfter(2s, "fails"))));
    TaskHandle victim = tasks->spawn(noteAfter(1h, "cancelled"));
    watchers.spawn(watch(victim));
    watchers.spawn(watch(TaskHandle()));
    TaskHandle byItself;
    byItself = tasks->spawn([&]() -> Task<void> {
        byItself.cancel();
        co_await noteAfter(0s, "itself");
    });
    watchers.spawn(watch(byItself));
    time.runUntilIdle();
    time.advance(2s);
    using enum TaskEnd; // of no task, of the one that cancels itself, of the first two
    EXPECT_THAT(ends, ElementsAre(finished, cancelled, finished, failed));
    EXPECT_TRUE(victim.isActive());
    victim.cancel();
    EXPECT_EQ(ends.size(), 4);
    time.runUntilIdle();
    EXPECT_EQ(ends.back(), cancelled);
    EXPECT_THAT(log, ElementsAre("finishes", "finishes gone", "cancelled gone"));
}

TEST_F(TaskScopeTest, an_escaping_exception_goes_to_the_handler_once_the_task_is_destroyed_and_may_end_the_scope) {
    std::unique_ptr<TaskScope> owner;
    owner = std::make_unique<TaskScope>(time.main(), [&, local = Local(log, "handler")](const std::exception_ptr&) {
        owner.reset();
        log.emplace_back("destroyed");
    });
    owner->spawn([this, local = Local(log, "task")]() -> Task<void> { co_await throwAfter(1s, "destroys its scope"); });
    owner->spawn(noteAfter(1h, "other"));
    time.advance(1s);
    EXPECT_THAT(log, ElementsAre("task gone", "other gone", "destroyed", "handler gone"));
}

TEST_F(TaskScopeTest, without_a_handler_an_escaping_exception_ends_the_program) {
    TaskScope scope(time.main());
    scope.spawn(throwAfter(0s, "nobody handles this"));
    EXPECT_DEATH(time.runUntilIdle(), "nobody handles this");
}

} // namespace
} // namespace tavrin
