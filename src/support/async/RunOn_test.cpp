#include "support/async/Event.h"
#include "support/async/Race.h"
#include "support/async/RunOn.h"
#include "support/async/SerialExecutor.h"
#include "support/async/TaskTestSupport.h"

#include <atomic>
#include <future>
#include <memory>
#include <semaphore>
#include <thread>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

constexpr auto patience = 20s; // only ever waited out by a test that fails

class RunOnTest : public TaskTest {
protected:
    Executor& worker = time.addExecutor();
};

TEST_F(RunOnTest, work_runs_there_and_its_result_comes_home_after_its_captures_are_gone) {
    tasks->spawn([this]() -> Task<void> {
        const auto result = co_await runOn(worker, [this, local = Local(log, "capture")](const std::stop_token&) {
            EXPECT_TRUE(worker.isCurrent());
            return std::make_unique<int>(3);
        });
        EXPECT_TRUE(time.main().isCurrent());
        log.push_back(std::to_string(*result));
        try {
            co_await runOn(worker, [](const std::stop_token&) { throw std::runtime_error("over there"); });
        } catch (const std::runtime_error& error) {
            log.emplace_back(error.what());
        }
    });
    time.runUntilIdle();
    EXPECT_THAT(log, ElementsAre("capture gone", "3", "over there"));
}

TEST_F(RunOnTest, an_outer_stop_tells_the_work_whose_result_is_still_awaited) {
    std::stop_source stop;
    std::vector<bool> told;
    tasks->spawn([&]() -> Task<void> {
        told.push_back(
            co_await runOn(worker, [](const std::stop_token& t) { return t.stop_requested(); }, stop.get_token()));
    });
    time.stall(worker, 1s);
    time.runUntilIdle();
    stop.request_stop();
    time.advance(1s);
    EXPECT_THAT(told, ElementsAre(true));
}

/// Real threads: a home executor and another one for the work.
class RunOnThreadsTest : public testing::Test {
protected:
    /// Spawns at home, waits until the task says that it is through, then clears the scope.
    template <class Function>
    void runAtHome(Function function) {
        std::promise<void> through;
        TaskScope tasks(home);
        home.runAndWait([&] {
            tasks.spawn([&]() -> Task<void> {
                co_await function();
                through.set_value();
            });
        });
        EXPECT_EQ(through.get_future().wait_for(patience), std::future_status::ready);
        home.runAndWait([&] { tasks.clear(); });
    }

    ThreadPool pool{4};
    SerialExecutor home{pool};
    SerialExecutor worker{pool};
};

TEST_F(RunOnThreadsTest, a_loser_in_the_middle_of_its_work_is_told_to_stop_and_not_waited_for) {
    std::binary_semaphore working(0);
    std::binary_semaphore mayEnd(0);
    std::atomic<bool> wasTold = false;
    Event begun;
    const auto slow = [&](const std::stop_token& stop) {
        working.release();
        home.post([&] { begun.set(); });
        EXPECT_TRUE(mayEnd.try_acquire_for(patience)); // let go by the caller, so the race did not wait for this
        wasTold = stop.stop_requested();
        return std::string("a result that nobody takes");
    };
    runAtHome([&]() -> Task<void> {
        const auto begin = [](Event& event) -> Task<int> {
            co_await event.wait();
            co_return 1;
        };
        const auto winner = co_await race(runOn(worker, slow), begin(begun));
        EXPECT_EQ(winner.index(), 1);
        EXPECT_TRUE(home.isCurrent());
        EXPECT_TRUE(working.try_acquire());
        mayEnd.release();
    });
    worker.runAndWait([] {});
    EXPECT_TRUE(wasTold);
}

TEST_F(RunOnThreadsTest, work_that_outlives_the_home_executor_of_its_cancelled_task_leaves_it_alone) {
    std::binary_semaphore working(0);
    std::binary_semaphore mayEnd(0);
    auto ownHome = std::make_unique<SerialExecutor>(pool);
    auto tasks = std::make_unique<TaskScope>(*ownHome);
    ownHome->runAndWait([&] {
        tasks->spawn([&]() -> Task<void> {
            co_await runOn(worker, [&](const std::stop_token&) {
                working.release();
                EXPECT_TRUE(mayEnd.try_acquire_for(patience));
            });
            ADD_FAILURE();
        });
    });
    ASSERT_TRUE(working.try_acquire_for(patience));
    ownHome->runAndWait([&] { tasks.reset(); });
    ownHome.reset();
    mayEnd.release();
    worker.runAndWait([] {});
}

TEST_F(RunOnThreadsTest, results_errors_and_cancellations_in_any_order_meet_no_race) {
    int results = 0;
    int errors = 0;
    int timeouts = 0;
    std::vector<std::unique_ptr<SerialExecutor>> workers;
    workers.reserve(8);
    for (int i = 0; i < 8; ++i)
        workers.push_back(std::make_unique<SerialExecutor>(pool));
    const auto work = [](int number) {
        return [number](const std::stop_token& stop) {
            for (int spin = 0; spin < number % 7 * 50 && !stop.stop_requested(); ++spin)
                std::this_thread::yield();
            if (number % 5 == 0) throw std::runtime_error(std::string(100, 'x'));
            return std::vector<int>(100, number);
        };
    };
    runAtHome([&]() -> Task<void> {
        for (int i = 0; i < 400; ++i) {
            try {
                const auto result = co_await race(runOn(*workers[i % 8], work(i)), std::chrono::microseconds(i % 100));
                result ? ++results : ++timeouts;
                EXPECT_TRUE(!result || result->back() == i);
            } catch (const std::runtime_error& error) {
                errors += std::string_view(error.what()).size() == 100 ? 1 : 0;
            }
        }
    });
    EXPECT_EQ(results + errors + timeouts, 400);
}

} // namespace
} // namespace tavrin
