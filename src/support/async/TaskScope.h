#pragma once

#include "support/async/Task.h"

#include <functional>
#include <memory>

namespace tavrin {

namespace detail {
class SpawnedTask;
class SpawnedTasks;
} // namespace detail

enum class TaskEnd { finished, failed, cancelled };

/// Names one spawned task. Copies name the same one; the scope owns it, dropping a handle does nothing.
/// A default handle names a task that has finished long ago.
/// Thread: the executor of the scope. Lifetime: may outlive the scope.
class TaskHandle final {
public:
    TaskHandle() = default;

    [[nodiscard]] bool isActive() const;

    /// Destroys the task, as TaskScope::clear() does. Does nothing when it has ended.
    void cancel();

    /// Waits until the task has ended and tells how. Its exception goes to the scope alone.
    [[nodiscard]] Task<TaskEnd> completion() const;

private:
    friend class TaskScope;
    explicit TaskHandle(std::shared_ptr<detail::SpawnedTask> spawned) : task(std::move(spawned)) {}

    std::shared_ptr<detail::SpawnedTask> task;
};

/// Owns the tasks of a controller. It is the controller's last member, so that the tasks die first.
///
/// Thread:   its executor only (checked in debug builds). Without tasks it may come and go anywhere.
/// Lifetime: the executor outlives it.
/// Cancel:   clear() and the destructor destroy all tasks, the newest first; afterwards nothing of them runs.
///           A task may clear or destroy its own scope: it runs on to its next `co_await`, or to its end, and is then
///           destroyed without a further word. Until there it must not touch what it has just destroyed.
/// Errors:   an exception that leaves a spawned task goes to the scope's handler, on the executor, once the task is
///           destroyed. Without a handler it is written to standard error and ends the program: an error that
///           nobody handles is a fault of ours.
class TaskScope final {
public:
    /// Must not throw. May clear or destroy the scope.
    using ErrorHandler = std::move_only_function<void(std::exception_ptr)>;

    explicit TaskScope(Executor& executor, ErrorHandler onError = {});
    TaskScope(const TaskScope&) = delete;
    TaskScope& operator=(const TaskScope&) = delete;
    ~TaskScope();

    /// Begins `task` in a job of its own. On a scope that is being destroyed the task is dropped instead.
    TaskHandle spawn(Task<void> task);

    /// The same for a function that returns the task, such as a lambda: it is kept until the task has ended.
    template <std::invocable Function>
    TaskHandle spawn(Function function) {
        return spawn(keeping(std::move(function)));
    }

    /// Destroys all tasks, those included that are spawned meanwhile by destructors. New ones may follow.
    void clear();

    [[nodiscard]] bool isEmpty() const;
    [[nodiscard]] Executor& executor() const { return home; }

private:
    template <class Function>
    static Task<void> keeping(Function function) {
        co_await function();
    }

    Executor& home;
    std::shared_ptr<detail::SpawnedTasks> tasks;
};

} // namespace tavrin
