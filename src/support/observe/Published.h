#pragma once

#include "support/async/Executor.h"
#include "support/observe/ObserverList.h"

#include <concepts>
#include <utility>

namespace tavrin {

/// A value that others watch.
///
/// Observers are told on the owner's executor, in a job of its own after the change: never from inside it, and once
/// however often the value changed meanwhile. They are given the value as it is then. A new observer is not told
/// before the next change. Assigning an equal value tells nobody.
///
/// Thread:   the executor's only (checked in debug builds where the value changes or an observer comes).
/// Lifetime: the executor outlives it; subscriptions may outlive it. Destruction drops what was not yet told.
///           An observer may unsubscribe, set the value (told in a further job) or destroy the owner of the value.
/// Errors:   an observer must not throw.
template <std::equality_comparable T>
class Published final {
public:
    explicit Published(Executor& ownersExecutor, T initial = {})
        : executor(ownersExecutor), value(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;
    ~Published() {
        if (telling) executor.cancel(telling);
    }

    [[nodiscard]] const T& get() const { return value; }
    [[nodiscard]] const T& operator*() const { return value; }
    const T* operator->() const { return &value; }

    Published& operator=(T newValue) {
        set(std::move(newValue));
        return *this;
    }

    void set(T newValue) {
        if (value == newValue) return;
        value = std::move(newValue);
        tellSoon();
    }

    /// Changes a large value in place. Tells also when `change` left it as it was.
    template <std::invocable<T&> Change>
    void edit(Change change) {
        change(value);
        tellSoon();
    }

    /// Calls `observer` with a `const T&` after changes, for as long as the subscription is kept.
    template <std::invocable<const T&> Observer>
    Subscription observe(Observer observer) {
        expectCurrent(executor);
        return observers.add([this, observer = std::move(observer)]() mutable { observer(std::as_const(value)); });
    }

private:
    void tellSoon() {
        expectCurrent(executor);
        if (telling) return;
        telling = executor.post([this] {
            telling = {};
            observers.tell();
        });
    }

    Executor& executor;
    T value;
    ObserverList observers;
    JobId telling;
};

} // namespace tavrin
