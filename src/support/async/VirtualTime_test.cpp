#include "support/async/VirtualTime.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class VirtualTimeTest : public testing::Test {
protected:
    Job note(std::string name) {
        return [this, name = std::move(name)] { log.push_back(name); };
    }

    VirtualTime time;
    Executor& main = time.main();
    Executor& worker = time.addExecutor();
    std::vector<std::string> log;
};

TEST_F(VirtualTimeTest, jobs_of_all_executors_run_by_due_time_and_then_in_the_order_of_posting) {
    const SteadyInstant start = time.now();
    main.postAt(start + 2s, note("late"));
    worker.postAt(start + 1s, note("timer, worker"));
    main.postAt(start + 1s, note("timer, main"));
    main.post(note("first"));
    worker.post(note("second"));
    main.postAt(start - 1h, note("already due"));
    EXPECT_THAT(log, IsEmpty());

    time.runUntilIdle();
    EXPECT_THAT(log, ElementsAre("first", "second", "already due"));
    time.advance(1s - 1ns);
    EXPECT_EQ(log.size(), 3);
    time.advance(1ns);
    EXPECT_THAT(std::vector(log.begin() + 3, log.end()), ElementsAre("timer, worker", "timer, main"));
    EXPECT_EQ(time.pendingJobs(), 1);
}

TEST_F(VirtualTimeTest, a_job_sees_the_time_at_which_it_is_due_and_both_clocks_agree) {
    const SteadyInstant start = time.now();
    const Date date = time.wallClock().now();
    main.postAt(start + 90s, [&] {
        EXPECT_EQ(time.steadyClock().now(), start + 90s);
        EXPECT_EQ(time.wallClock().now() - date, 90s);
        main.postAt(main.now() + 10s, note("chained"));
    });
    time.advance(100s);
    EXPECT_THAT(log, ElementsAre("chained"));
    EXPECT_EQ(time.now(), start + 100s);

    time.shiftWallClock(-1h);
    EXPECT_EQ(time.wallClock().now() - date, 100s - 1h);
    EXPECT_EQ(time.now(), start + 100s);
}

TEST_F(VirtualTimeTest, a_stalled_executor_runs_late_and_in_order_while_others_go_on) {
    const SteadyInstant start = time.now();
    main.post(note("posted before"));
    main.postAt(start + 1s, note("due meanwhile"));
    main.postAt(start + 5s, note("due after"));
    worker.postAt(start + 2s, note("worker"));
    time.stall(main, 3s);

    time.advance(3s - 1ns);
    EXPECT_THAT(log, ElementsAre("worker"));
    time.advance(1ns);
    EXPECT_THAT(log, ElementsAre("worker", "posted before", "due meanwhile"));
    time.advance(2s);
    EXPECT_EQ(log.back(), "due after");
}

TEST_F(VirtualTimeTest, run_until_stops_at_the_answer_or_at_the_limit) {
    const SteadyInstant start = time.now();
    main.postAt(start + 1s, note("one"));
    main.postAt(start + 2s, note("two"));
    EXPECT_TRUE(time.runUntil([&] { return log.size() == 1; }, 5s));
    EXPECT_EQ(time.now(), start + 1s);
    EXPECT_FALSE(time.runUntil([&] { return log.size() == 3; }, 5s));
    EXPECT_EQ(time.now(), start + 6s);
}

TEST_F(VirtualTimeTest, only_the_running_executor_is_current_inside_a_job) {
    EXPECT_TRUE(main.isCurrent() && worker.isCurrent());
    worker.post([&] {
        EXPECT_TRUE(worker.isCurrent());
        EXPECT_FALSE(main.isCurrent());
    });
    time.runUntilIdle();
    worker.post([] { throw std::runtime_error("out of the job"); });
    EXPECT_THROW(time.runUntilIdle(), std::runtime_error);
    EXPECT_TRUE(main.isCurrent());
}

TEST_F(VirtualTimeTest, a_cancelled_job_does_not_run_and_frees_what_it_holds) {
    const auto held = std::make_shared<int>();
    const JobId id = main.post([held] { FAIL(); });
    EXPECT_EQ(held.use_count(), 2);
    EXPECT_TRUE(main.cancel(id));
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_FALSE(main.cancel(id));
    EXPECT_FALSE(main.cancel(JobId()));
    time.runUntilIdle();
}

TEST(VirtualTime, drops_pending_jobs_even_when_their_destructors_post) {
    auto time = std::make_unique<VirtualTime>();
    struct PostsWhenDropped {
        Executor* executor;
        explicit PostsWhenDropped(Executor& e) : executor(&e) {}
        PostsWhenDropped(PostsWhenDropped&& other) noexcept : executor(std::exchange(other.executor, nullptr)) {}
        ~PostsWhenDropped() {
            if (executor != nullptr) executor->post([] { FAIL(); });
        }
        void operator()() const { FAIL(); }
    };
    time->main().post(PostsWhenDropped(time->addExecutor()));
    time.reset();
}

TEST(VirtualTimeDeathTest, refuses_what_would_hang_or_hide_a_fault) {
    VirtualTime time;
    Job again;
    again = [&] { time.main().post([&] { again(); }); };
    time.main().post([&] { again(); });
    EXPECT_DEATH(time.runUntilIdle(), "without end");

    VirtualTime other;
    other.main().post([&] { other.advance(1s); });
    EXPECT_DEATH(other.runUntilIdle(), "inside a job");

#ifndef NDEBUG
    VirtualTime third;
    third.addExecutor().post([&] { expectCurrent(third.main()); });
    EXPECT_DEATH(third.runUntilIdle(), "VirtualTime_test.cpp:.*outside its executor");
#endif
}

} // namespace
} // namespace tavrin
