#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace tavrin {

/// A callback that one thread sets while others call it. When set() returns, the callback before does not run and will
/// not run again. Thread: any; a callback must not set its own slot, and must not wait.
template <class... Arguments>
class CallbackSlot final {
public:
    using Callback = std::function<void(Arguments...)>;

    void set(Callback callback) {
        const std::scoped_lock lock(mutex);
        held = std::move(callback);
    }
    void clear() { set({}); }

    /// Takes the callback out, so that it is called once only.
    [[nodiscard]] Callback take() {
        const std::scoped_lock lock(mutex);
        return std::exchange(held, {});
    }

    [[nodiscard]] bool isSet() const {
        const std::scoped_lock lock(mutex);
        return static_cast<bool>(held);
    }

    void call(Arguments... arguments) {
        const std::scoped_lock lock(mutex);
        if (held) held(arguments...);
    }

private:
    mutable std::mutex mutex;
    Callback held;
};

} // namespace tavrin
