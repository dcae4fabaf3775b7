#include "support/async/VirtualTime.h"

#include <gmock/gmock.h>

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
    const SteadyInstant start = time.now();
    std::vector<std::string> log;
};

TEST_F(VirtualTimeTest, jobs_of_all_executors_run_by_due_time_and_then_in_the_order_of_posting) {
    main.postAt(start + 2s, note("late"));
    worker.postAt(start + 1s, note("timer, worker"));
    main.postAt(start + 1s, note("timer, main"));
    main.post(note("first"));
    worker.post(note("second"));
    main.postAt(start - 1h, note("already due"));
    const JobId dropped = main.post(note("cancelled"));
    EXPECT_TRUE(main.cancel(dropped));
    EXPECT_FALSE(main.cancel(dropped));
    EXPECT_THAT(log, IsEmpty());

    time.advance(1s - 1ns);
    EXPECT_THAT(log, ElementsAre("first", "second", "already due"));
    time.advance(1ns);
    EXPECT_THAT(std::vector(log.begin() + 3, log.end()), ElementsAre("timer, worker", "timer, main"));
    EXPECT_FALSE(time.runUntil([&] { return log.size() == 7; }, 5s));
    EXPECT_EQ(time.now(), start + 6s);
}

TEST_F(VirtualTimeTest, a_job_sees_its_executor_and_the_time_at_which_it_is_due) {
    const Date date = time.wallClock().now();
    time.shiftWallClock(-1h);
    main.postAt(start + 90s, [&] {
        EXPECT_TRUE(main.isCurrent() && !worker.isCurrent());
        EXPECT_EQ(time.steadyClock().now(), start + 90s);
        EXPECT_EQ(time.wallClock().now() - date, 90s - 1h);
        main.postAt(main.now() + 10s, [] { throw std::runtime_error("out of the job"); });
    });
    EXPECT_THROW(time.advance(101s), std::runtime_error);
    EXPECT_EQ(time.now(), start + 100s);
    EXPECT_TRUE(main.isCurrent() && worker.isCurrent());
}

TEST_F(VirtualTimeTest, a_stalled_executor_runs_late_and_in_order_while_others_go_on) {
    main.post(note("posted before"));
    main.postAt(start + 1s, note("due meanwhile"));
    main.postAt(start + 5s, note("due after"));
    worker.postAt(start + 2s, note("worker"));
    time.stall(main, 3s);
    time.advance(3s - 1ns);
    EXPECT_THAT(log, ElementsAre("worker"));
    time.advance(1ns);
    EXPECT_THAT(log, ElementsAre("worker", "posted before", "due meanwhile"));
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
