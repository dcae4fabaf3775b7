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

using RunOnTest = TaskTest;

TEST_F(RunOnTest, work_runs_there_and_its_result_comes_home_after_its_captures_are_gone) {
    Executor& worker = time.addExecutor();
    tasks->spawn([&]() -> Task<void> {
        const auto result = co_await runOn(worker, [&, local = Local(log, "capture")](const std::stop_token&) {
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

TEST(RunOnThreads, cancelled_work_is_told_to_stop_is_not_waited_for_and_may_outlive_its_home_executor) {
    ThreadPool pool(2);
    SerialExecutor worker(pool);
    std::binary_semaphore working(0);
    std::binary_semaphore mayEnd(0);
    std::atomic<bool> wasTold = false;
    auto home = std::make_unique<SerialExecutor>(pool);
    auto tasks = std::make_unique<TaskScope>(*home);
    home->runAndWait([&] {
        tasks->spawn([&]() -> Task<void> {
            co_await runOn(worker, [&](const std::stop_token& stop) {
                working.release();
                EXPECT_TRUE(mayEnd.try_acquire_for(patience)); // let go below, so nothing waits for the end of this
                wasTold = stop.stop_requested();
            });
            ADD_FAILURE();
        });
    });
    ASSERT_TRUE(working.try_acquire_for(patience));
    home->runAndWait([&] { tasks.reset(); });
    home.reset();
    mayEnd.release();
    worker.runAndWait([] {});
    EXPECT_TRUE(wasTold);
}

TEST(RunOnThreads, results_errors_and_cancellations_in_any_order_meet_no_race) {
    int results = 0;
    int errors = 0;
    int timeouts = 0;
    ThreadPool pool(4);
    SerialExecutor home(pool);
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
    std::promise<void> through;
    TaskScope tasks(home);
    const auto runAll = [&]() -> Task<void> {
        for (int i = 0; i < 400; ++i) {
            try {
                const auto result = co_await race(runOn(*workers[i % 8], work(i)), std::chrono::microseconds(i % 100));
                result ? ++results : ++timeouts;
                EXPECT_TRUE(!result || result->back() == i);
            } catch (const std::runtime_error& error) {
                errors += std::string_view(error.what()).size() == 100 ? 1 : 0;
            }
        }
        through.set_value();
    };
    home.runAndWait([&] { tasks.spawn(runAll()); });
    EXPECT_EQ(through.get_future().wait_for(patience), std::future_status::ready);
    home.runAndWait([&] { tasks.clear(); });
    EXPECT_EQ(results + errors + timeouts, 400);
}

} // namespace
} // namespace tavrin
