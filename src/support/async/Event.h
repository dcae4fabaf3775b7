#pragma once

#include "support/async/Suspension.h"

#include <utility>
#include <vector>

namespace tavrin {

/// Something that happens, for tasks to wait for: set once and lasting, or used anew after reset().
/// Turns a callback into something a task can await: the callback leaves its result and sets the event.
///
/// Thread:   the executor of the tasks that wait; another thread posts there first.
/// Lifetime: when the event dies first, its waiters stay suspended until they are cancelled.
class Event final {
public:
    class Wait;

    Event() = default;
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    ~Event();

    [[nodiscard]] bool isSet() const { return happened; }

    /// Posts all waiters, in the order in which they came; later ones do not wait.
    void set();

    /// Lets later ones wait again. Those already posted go on.
    void reset() { happened = false; }

    /// Awaited as `co_await event.wait()`.
    Wait wait();

private:
    bool happened = false;
    std::vector<Wait*> waiters;
};

/// What `co_await event.wait()` waits on.
class Event::Wait final : public Suspension {
public:
    explicit Wait(Event& awaited) noexcept : event(awaited) {}
    ~Wait() {
        if (isWaiting) std::erase(event.waiters, this);
    }
    static void await_resume() noexcept {}

private:
    friend class Event;

    std::coroutine_handle<> begin() override {
        isWaiting = !event.happened;
        if (isWaiting)
            event.waiters.push_back(this);
        else
            resumption.post();
        return std::noop_coroutine();
    }

    Event& event;
    bool isWaiting = false; // the event knows of it, and lives
};

inline Event::Wait Event::wait() {
    return Wait(*this);
}

inline void Event::set() {
    happened = true;
    for (Wait* waiter : std::exchange(waiters, {})) {
        waiter->isWaiting = false;
        waiter->resumption.post();
    }
}

inline Event::~Event() {
    for (Wait* waiter : waiters)
        waiter->isWaiting = false;
}

} // namespace tavrin
