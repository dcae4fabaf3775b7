#pragma once

#include "support/async/Task.h"

#include <memory>
#include <mutex>
#include <stop_token>
#include <utility>

namespace tavrin {

namespace detail {

/// What the waiting task and the work on the other executor share; it lives until both are through with it.
template <class R>
class RemoteWork final {
public:
    explicit RemoteWork(Resumption& waitingTask) : home(&waitingTask.waitingTree().home()), waiter(waitingTask) {}

    /// On the other executor.
    template <class Work>
    static void perform(const std::shared_ptr<RemoteWork>& self, Work work) {
        if (self->isAwaited()) run(self->outcome, std::move(work), self->stop.get_token());
        const std::scoped_lock lock(self->mutex);
        if (self->home == nullptr) return;
        self->home->post([self] {
            if (self->isAwaited()) self->waiter.resume();
        });
    }

    /// On the home executor: the waiting task is going. Neither it nor its executor is touched any more.
    void abandon() {
        {
            const std::scoped_lock lock(mutex);
            home = nullptr;
        }
        stop.request_stop();
    }

    Outcome<R> outcome; // the other executor's until it has posted home, then the waiting task's
    std::stop_source stop;

private:
    /// Takes the work by value: its captures are gone before the result is told.
    template <class Work>
    // NOLINTNEXTLINE(performance-unnecessary-value-param)
    static void run(Outcome<R>& outcome, Work work, const std::stop_token& token) {
        try {
            if constexpr (std::is_void_v<R>) {
                work(token);
                outcome.setValue();
            } else {
                outcome.setValue(work(token));
            }
        } catch (...) {
            outcome.setError(std::current_exception());
        }
    }

    bool isAwaited() {
        const std::scoped_lock lock(mutex);
        return home != nullptr;
    }

    std::mutex mutex;
    Executor* home; // guarded; null once nobody waits
    Resumption& waiter;
};

/// What runOn waits on.
template <class R, class Work>
class RemoteWait final : public Suspension {
public:
    RemoteWait(Executor& target, Work&& remoteWork) : where(target), work(std::move(remoteWork)) {}
    ~RemoteWait() {
        if (shared) shared->abandon();
    }

    R await_resume() { return shared->outcome.take(); }

private:
    std::coroutine_handle<> begin() override {
        shared = std::make_shared<RemoteWork<R>>(resumption);
        where.post(
            [state = shared, job = std::move(work)]() mutable { RemoteWork<R>::perform(state, std::move(job)); });
        return std::noop_coroutine();
    }

    Executor& where;
    Work work;
    std::shared_ptr<RemoteWork<R>> shared;
};

} // namespace detail

/// Runs `work` as a job on `where`, another executor as a rule, while the awaiting task waits at home.
/// `work` takes a std::stop_token and gives a value or nothing; `where` is used only to post it.
///
/// Result:  comes home by post, an exception too. When the awaiting task was destroyed meanwhile it is dropped,
///          on the thread of the work.
/// Cancel:  destroying the awaiting task returns at once. Work that has not begun never begins; the token of work
///          that runs is told to stop, and nothing waits for its end: what it uses must outlive it, so let it own
///          its data.
/// Lifetime: the captures of `work` are destroyed on `where`, before the result comes home. When `where` dies before
///          the work has begun, the task waits until it is cancelled.
template <class Work>
    requires std::invocable<Work&, std::stop_token>
Task<std::invoke_result_t<Work&, std::stop_token>> runOn(Executor& where, Work work) {
    using R = std::invoke_result_t<Work&, std::stop_token>;
    co_return co_await detail::RemoteWait<R, Work>(where, std::move(work));
}

} // namespace tavrin
