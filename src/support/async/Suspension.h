#pragma once

#include "support/async/Executor.h"

#include <coroutine>
#include <utility>

namespace tavrin {

/// A spawned task with everything it awaits: resumed, cancelled and destroyed as one, on one home executor.
class TaskTree {
public:
    explicit TaskTree(Executor& homeExecutor) : homeOfAll(homeExecutor) {}
    TaskTree(const TaskTree&) = delete;
    TaskTree& operator=(const TaskTree&) = delete;
    virtual ~TaskTree() = default;

    [[nodiscard]] Executor& home() const { return homeOfAll; }

    /// Lets one suspended task of this tree run to its next suspension. The tree may be gone afterwards.
    virtual void resume(std::coroutine_handle<> waiter) = 0;

    /// Cancelled while it runs: whatever suspends next stays suspended, and the tree is then destroyed.
    [[nodiscard]] virtual bool isEnding() const = 0;

private:
    Executor& homeOfAll;
};

/// The job that resumes a suspended task, on the home executor of its tree. Destruction withdraws it.
/// Thread: the home executor. Owner: the thing that is awaited, which lives in the frame of the waiting task.
class Resumption final {
public:
    Resumption() = default;
    Resumption(const Resumption&) = delete;
    Resumption& operator=(const Resumption&) = delete;
    ~Resumption() { withdraw(); }

    void bind(TaskTree& waitingTree, std::coroutine_handle<> waitingTask) {
        tree = &waitingTree;
        waiter = waitingTask;
    }

    [[nodiscard]] TaskTree& waitingTree() const { return *tree; }

    void post() { postAt(tree->home().now()); }

    void postAt(SteadyInstant due) {
        withdraw();
        job = tree->home().postAt(due, [this] {
            job = {};
            resume();
        });
    }

    /// Resumes within the present job. Nothing of the waiting task may be running.
    void resume() { tree->resume(waiter); }

    void withdraw() {
        if (job) tree->home().cancel(std::exchange(job, {}));
    }

private:
    TaskTree* tree = nullptr;
    std::coroutine_handle<> waiter;
    JobId job;
};

/// Base of everything that a Task can await. Every await suspends, so that a cancelled task ends there.
class Suspension {
public:
    Suspension() = default;
    Suspension(const Suspension&) = delete;
    Suspension& operator=(const Suspension&) = delete;

    [[nodiscard]] static constexpr bool await_ready() noexcept { return false; }

    template <class Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> waiter) {
        TaskTree& tree = *waiter.promise().tree;
        resumption.bind(tree, waiter);
        return tree.isEnding() ? std::noop_coroutine() : begin();
    }

protected:
    ~Suspension() = default;

    /// Starts what is awaited; it calls resumption.post() once it is there. What is returned runs next, in this job.
    virtual std::coroutine_handle<> begin() = 0;

    Resumption resumption;
};

} // namespace tavrin
