#pragma once

#include "support/async/Outcome.h"
#include "support/async/Suspension.h"

#include <concepts>
#include <memory>
#include <type_traits>

namespace tavrin {

template <class T = void>
class Task;

namespace detail {

/// Learns, within the turn in which it happens, that a task has ended.
class TaskObserver {
public:
    virtual void taskEnded() noexcept = 0;

protected:
    ~TaskObserver() = default;
};

struct TellObserver {
    static bool await_ready() noexcept { return false; }
    template <class Promise>
    static void await_suspend(std::coroutine_handle<Promise> ended) noexcept {
        ended.promise().observer->taskEnded();
    }
    static void await_resume() noexcept {}
};

template <class T>
struct TaskPromiseBase {
    static std::suspend_always initial_suspend() noexcept { return {}; }
    static TellObserver final_suspend() noexcept { return {}; }
    void unhandled_exception() { outcome.setError(std::current_exception()); }

    /// Tasks and suspensions can be awaited, nothing else: others would resume the task outside its tree.
    template <class Awaited>
        requires std::derived_from<std::remove_cvref_t<Awaited>, Suspension> ||
                 requires { typename std::remove_cvref_t<Awaited>::IsTask; }
    static Awaited&& await_transform(Awaited&& awaited) noexcept {
        return std::forward<Awaited>(awaited);
    }

    TaskTree* tree = nullptr;
    TaskObserver* observer = nullptr;
    Outcome<T> outcome;
};

template <class T>
struct TaskPromise final : TaskPromiseBase<T> {
    Task<T> get_return_object() noexcept { return Task<T>(std::coroutine_handle<TaskPromise>::from_promise(*this)); }

    template <class Value = T>
        requires std::constructible_from<T, Value&&>
    void return_value(Value&& value) {
        this->outcome.setValue(std::forward<Value>(value));
    }
};

template <>
struct TaskPromise<void> final : TaskPromiseBase<void> {
    Task<void> get_return_object() noexcept;
    void return_void() { outcome.setValue(); }
};

/// What `co_await child()` waits on: it owns the child.
template <class T>
class ChildWait final : public Suspension, private TaskObserver {
public:
    explicit ChildWait(Task<T>&& awaited) noexcept : child(std::move(awaited)) {}
    T await_resume() { return child.takeResult(); }

private:
    std::coroutine_handle<> begin() override { return child.begin(resumption.waitingTree(), *this); }
    void taskEnded() noexcept override { resumption.post(); }

    Task<T> child;
};

} // namespace detail

/// Work that can pause: a coroutine, owned by whoever holds the Task.
///
/// Begin:    not before it is awaited with `co_await`, or spawned by a TaskScope.
/// Home:     the executor of the scope that spawned the root; awaited children inherit it. All of a task runs there.
///           When a child ends, its parent is posted to that executor: it goes on in a job of its own, never inside.
/// Cancel:   destroying a task cancels it. When the destructor returns nothing of it runs any more; its locals, and
///           all that it awaits, were destroyed. A task that has begun is destroyed on its home executor.
/// Errors:   an exception that leaves it is thrown by the `co_await` of its parent.
/// Arguments of a coroutine are kept by value; references, `this` and the captures of a lambda are not kept alive.
template <class T>
class [[nodiscard]] Task final {
    static_assert(std::is_void_v<T> || std::is_object_v<T>, "a task gives a value or nothing");

public:
    using IsTask = void;
    using promise_type = detail::TaskPromise<T>;

    Task(Task&& other) noexcept : coroutine(std::exchange(other.coroutine, nullptr)) {}
    Task& operator=(Task&& other) noexcept {
        const Task old(std::exchange(coroutine, std::exchange(other.coroutine, nullptr)));
        return *this;
    }
    ~Task() { cancel(); }

    /// Destroys the work now instead of with the Task, which is empty afterwards.
    void cancel() noexcept {
        if (coroutine) std::exchange(coroutine, nullptr).destroy();
    }

    /// Awaited as `co_await work()` or `co_await std::move(task)`, once.
    detail::ChildWait<T> operator co_await() && noexcept { return detail::ChildWait<T>(std::move(*this)); }

    // For those who write suspensions and scopes:

    /// Makes it part of `tree`. What is returned runs it to its first suspension; `observer` hears of the end.
    std::coroutine_handle<> begin(TaskTree& tree, detail::TaskObserver& observer) noexcept {
        coroutine.promise().tree = &tree;
        coroutine.promise().observer = &observer;
        return coroutine;
    }

    /// The exception of a task that ended with one.
    [[nodiscard]] std::exception_ptr error() const { return coroutine.promise().outcome.error(); }

    /// The value of a task that has ended; throws its exception.
    T takeResult() { return coroutine.promise().outcome.take(); }

private:
    friend promise_type;
    explicit Task(std::coroutine_handle<promise_type> handle) noexcept : coroutine(handle) {}

    std::coroutine_handle<promise_type> coroutine;
};

inline Task<void> detail::TaskPromise<void>::get_return_object() noexcept {
    return Task<void>(std::coroutine_handle<TaskPromise>::from_promise(*this));
}

} // namespace tavrin
