#pragma once

#include "support/async/Task.h"

#include <optional>
#include <variant>

namespace tavrin {

namespace detail {

/// One of the tasks of a race. Its owner is told when it ends.
template <class T, class Owner>
class Runner final : private TaskObserver {
public:
    Runner(Task<T>&& entrant, Owner& raceOwner) noexcept : task(std::move(entrant)), owner(raceOwner) {}

    void run(TaskTree& tree) { task.begin(tree, *this).resume(); }
    void drop() { task.cancel(); }
    [[nodiscard]] bool hasEnded() const { return ended; }
    T takeResult() { return task.takeResult(); }

private:
    void taskEnded() noexcept override {
        ended = true;
        owner.decide();
    }

    Task<T> task;
    Owner& owner;
    bool ended = false;
};

} // namespace detail

/// What `co_await race(a, b)` waits on.
template <class A, class B>
class Race final : public Suspension {
public:
    using Winner = std::variant<ValueOr<A>, ValueOr<B>>;

    Race(Task<A>&& a, Task<B>&& b) noexcept : first(std::move(a), *this), second(std::move(b), *this) {}

    Winner await_resume() {
        if (first.hasEnded()) return result<0>(first);
        return result<1>(second);
    }

    void decide() {
        first.hasEnded() ? second.drop() : first.drop();
        resumption.post();
    }

private:
    std::coroutine_handle<> begin() override {
        TaskTree& tree = resumption.waitingTree();
        first.run(tree);
        if (!first.hasEnded() && !tree.isEnding()) second.run(tree);
        return std::noop_coroutine();
    }

    template <std::size_t index, class T>
    Winner result(detail::Runner<T, Race>& winner) {
        if constexpr (std::is_void_v<T>) {
            winner.takeResult();
            return Winner(std::in_place_index<index>);
        } else {
            return Winner(std::in_place_index<index>, winner.takeResult());
        }
    }

    detail::Runner<A, Race> first;
    detail::Runner<B, Race> second;
};

/// What `co_await race(task, d)` waits on.
template <class T>
class TimedRace final : public Suspension {
public:
    using Result = std::conditional_t<std::is_void_v<T>, bool, std::optional<ValueOr<T>>>;

    TimedRace(Task<T>&& task, Duration limit) noexcept : runner(std::move(task), *this), duration(limit) {}

    Result await_resume() {
        if (!runner.hasEnded()) {
            runner.drop();
            return Result();
        }
        if constexpr (std::is_void_v<T>) {
            runner.takeResult();
            return true;
        } else {
            return runner.takeResult();
        }
    }

    void decide() { resumption.post(); }

private:
    std::coroutine_handle<> begin() override {
        TaskTree& tree = resumption.waitingTree();
        const SteadyInstant deadline = after(tree.home().now(), duration);
        runner.run(tree);
        if (!runner.hasEnded() && !tree.isEnding()) resumption.postAt(deadline);
        return std::noop_coroutine();
    }

    detail::Runner<T, TimedRace> runner;
    Duration duration;
};

/// Runs two tasks and gives what the first to end gives; nothing of `void` is std::monostate. `a` begins first.
/// The other one is destroyed at that moment, before the caller goes on, and not even begun when `a` ends at once.
/// Errors: the winner's exception is thrown; what the loser would have thrown is not heard of.
template <class A, class B>
Race<A, B> race(Task<A> a, Task<B> b) {
    return Race<A, B>(std::move(a), std::move(b));
}

/// Runs a task for at most `limit`. Gives its value, or nothing when time ran out: the task is then destroyed before
/// the caller goes on. For a `Task<void>`: true when it ended in time. At the very same moment either may win.
template <class T>
TimedRace<T> race(Task<T> task, Duration limit) {
    return TimedRace<T>(std::move(task), limit);
}

} // namespace tavrin
