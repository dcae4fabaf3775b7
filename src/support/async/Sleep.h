#pragma once

#include "support/async/Suspension.h"

namespace tavrin {

/// What `co_await sleepFor(d)` waits on.
class Sleep final : public Suspension {
public:
    explicit Sleep(Duration length) noexcept : duration(length) {}
    static void await_resume() noexcept {}

private:
    std::coroutine_handle<> begin() override {
        resumption.postAt(after(resumption.waitingTree().home().now(), duration));
        return std::noop_coroutine();
    }

    Duration duration;
};

/// Goes on after `duration`, on the steady time of the home executor. With zero it lets the jobs that wait go first.
inline Sleep sleepFor(Duration duration) {
    return Sleep(duration);
}

} // namespace tavrin
