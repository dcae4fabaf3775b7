#include "support/async/Race.h"
#include "support/async/TaskTestSupport.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class RaceTest : public TaskTest {
protected:
    /// A task of a race that notes when it begins, wins and goes.
    Task<std::string> runner(std::string name, Duration duration) {
        const Local local(log, name);
        log.push_back(name + " begins");
        if (duration > 0s) co_await sleepFor(duration);
        log.push_back(name + " ends");
        co_return name;
    }
};

TEST_F(RaceTest, the_first_to_end_wins_and_the_loser_is_destroyed_before_the_caller_goes_on) {
    struct Case {
        Duration a;
        Duration b;
        Log expected;
    };
    const std::vector<Case> cases = {
        {1s, 2s, {"a begins", "b begins", "a ends", "a gone", "b gone", "0 a"}},
        {2s, 1s, {"a begins", "b begins", "b ends", "b gone", "a gone", "1 b"}},
        {1s, 1s, {"a begins", "b begins", "a ends", "a gone", "b gone", "0 a"}},
        {0s, 1s, {"a begins", "a ends", "a gone", "0 a"}},
        {1s, 0s, {"a begins", "b begins", "b ends", "b gone", "a gone", "1 b"}},
    };
    const auto noteWinner = [this](const std::variant<std::string, std::string>& winner) {
        log.push_back(winner.index() == 0 ? "0 " + std::get<0>(winner) : "1 " + std::get<1>(winner));
    };
    for (const Case& c : cases) {
        log.clear();
        tasks->spawn([&]() -> Task<void> { noteWinner(co_await race(runner("a", c.a), runner("b", c.b))); });
        time.advance(5s);
        EXPECT_EQ(log, c.expected);
        EXPECT_EQ(time.pendingJobs(), 0);
    }
}

TEST_F(RaceTest, the_winners_exception_is_thrown_and_the_losers_is_not_heard_of) {
    tasks->spawn([this]() -> Task<void> {
        const auto winner = co_await race(throwAfter(2s, "loses"), answerAfter(1s, 7));
        log.push_back(std::to_string(std::get<1>(winner)));
        try {
            co_await race(throwAfter(1s, "wins"), noteAfter(2s, "loser"));
        } catch (const std::runtime_error& error) {
            log.emplace_back(error.what());
        }
        if (!co_await race(throwAfter(2s, "too late"), 1s)) log.emplace_back("time ran out");
        co_await race(throwAfter(1s, "in time"), 2s);
    });
    time.advance(10s);
    EXPECT_THAT(log, ElementsAre("7", "loser gone", "wins", "time ran out"));
    EXPECT_THAT(errors, ElementsAre("in time"));
}

TEST_F(RaceTest, a_limit_gives_nothing_once_the_time_has_run_out) {
    const auto within = [this](Duration duration, Duration limit) -> Task<void> {
        const std::optional<int> answer = co_await race(answerAfter(duration, 42), limit);
        log.push_back(answer ? std::to_string(*answer) : "nothing");
        log.emplace_back(co_await race(noteAfter(duration, "task"), limit) ? "in time" : "late");
    };
    for (const Duration limit : {Duration(1s), Duration::max()}) {
        log.clear();
        tasks->spawn(within(1s - 1ns, limit));
        time.advance(5s);
        EXPECT_THAT(log, ElementsAre("42", "task", "task gone", "in time"));
    }

    log.clear();
    tasks->spawn(within(1s, 1s - 1ns));
    time.advance(1s - 2ns);
    EXPECT_THAT(log, IsEmpty());
    time.advance(1ns);
    EXPECT_THAT(log, ElementsAre("nothing"));
    time.advance(5s);
    EXPECT_THAT(log, ElementsAre("nothing", "task gone", "late"));
    EXPECT_EQ(time.pendingJobs(), 0);
}

} // namespace
} // namespace tavrin
