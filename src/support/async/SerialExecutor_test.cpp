#include "support/async/SerialExecutor.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <semaphore>
#include <thread>
#include <vector>

namespace tavrin {
namespace {

using namespace std::chrono_literals;

constexpr auto patience = 20s; // only ever waited out by a test that fails

class SerialExecutorTest : public testing::Test {
protected:
    ThreadPool pool{4};
};

TEST_F(SerialExecutorTest, a_thousand_posts_from_each_of_eight_threads_run_one_by_one_and_in_order) {
    constexpr int threadCount = 8;
    constexpr int postsPerThread = 1000;
    std::array<std::vector<int>, threadCount> seen; // unguarded on purpose: the executor is the guard
    std::atomic<int> atOnce = 0;
    std::atomic<int> faults = 0;
    SerialExecutor executor(pool);
    {
        std::vector<std::jthread> threads;
        threads.reserve(threadCount);
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([&, thread] {
                for (int i = 0; i < postsPerThread; ++i) {
                    executor.post([&, thread, i] {
                        faults += ++atOnce != 1 || !executor.isCurrent() ? 1 : 0;
                        seen[thread].push_back(i);
                        --atOnce;
                    });
                }
            });
        }
    }
    executor.runAndWait([] {});

    EXPECT_EQ(faults, 0);
    for (const std::vector<int>& values : seen) {
        ASSERT_EQ(values.size(), postsPerThread);
        EXPECT_TRUE(std::ranges::is_sorted(values));
    }
}

TEST_F(SerialExecutorTest, timers_run_when_due_in_order_of_time_unless_cancelled) {
    SerialExecutor executor(pool);
    std::vector<int> order;
    std::promise<void> last;
    const SteadyInstant start = executor.now() + 200ms; // all is posted by then, however busy the machine
    executor.runAndWait([&] {
        executor.postAt(start + 40ms, [&] { last.set_value(); });
        executor.postAt(start + 20ms, [&] { order.push_back(2); });
        executor.postAt(start + 10ms, [&] {
            EXPECT_GE(executor.now(), start + 10ms);
            order.push_back(1);
        });
        const JobId dropped = executor.postAt(start + 15ms, [&] { order.push_back(0); });
        EXPECT_TRUE(executor.cancel(dropped));
        executor.postAt(after(start, Duration::max()), [&] { order.push_back(-1); });
    });
    ASSERT_EQ(last.get_future().wait_for(patience), std::future_status::ready);
    executor.runAndWait([&] { EXPECT_THAT(order, testing::ElementsAre(1, 2)); });
}

TEST_F(SerialExecutorTest, destruction_waits_for_the_running_job_and_drops_the_others_with_all_they_hold) {
    const auto held = std::make_shared<int>();
    std::binary_semaphore running(0);
    std::atomic<bool> hasEnded = false;
    {
        SerialExecutor executor(pool);
        executor.post([&] {
            running.release();
            while (executor.post([held] { FAIL(); })) // until the destructor has begun and takes no more
                std::this_thread::sleep_for(1ms);
            hasEnded = true;
        });
        executor.post([held] { FAIL(); });
        executor.postAt(after(executor.now(), 1h), [held] { FAIL(); });
        ASSERT_TRUE(running.try_acquire_for(patience));
    }
    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SerialExecutorTest, a_job_may_destroy_its_own_executor) {
    auto executor = std::make_unique<SerialExecutor>(pool);
    std::promise<void> ended;
    executor->post([&] {
        executor->post([] { FAIL(); });
        executor.reset();
        ended.set_value();
    });
    EXPECT_EQ(ended.get_future().wait_for(patience), std::future_status::ready);
}

TEST(SerialExecutor, a_busy_one_leaves_room_for_others_on_a_single_thread) {
    ThreadPool pool(1);
    SerialExecutor busy(pool);
    SerialExecutor patient(pool);
    std::atomic<bool> isDone = false;
    std::atomic<int> turns = 0;
    std::function<void()> again = [&] {
        if (!isDone && ++turns < 1'000'000) busy.post([&] { again(); });
    };
    busy.post([&] { again(); });
    patient.runAndWait([&] { isDone = true; });
    EXPECT_LT(turns, 1'000'000);
    busy.runAndWait([] {});
}

} // namespace
} // namespace tavrin
