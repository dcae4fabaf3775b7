#pragma once

#include <functional>
#include <memory>
#include <vector>

namespace tavrin {

namespace detail {

struct Observer {
    std::move_only_function<void()> callback;
    bool isActive = true;
    bool isBeingCalled = false;

    /// Never called again; the callback goes now, or when it returns.
    void end();
};

} // namespace detail

/// Keeps an observer called; its destruction ends that, also from inside the observer, and also for an observer whose
/// call was to come next. May outlive what it observes.
/// Thread: that of what it observes. The callback is destroyed with it, or as it returns when it is just running.
class [[nodiscard]] Subscription final {
public:
    Subscription() = default;
    explicit Subscription(std::shared_ptr<detail::Observer> subscribed) : observer(std::move(subscribed)) {}
    Subscription(Subscription&&) noexcept = default;
    Subscription& operator=(Subscription&& other) noexcept;
    ~Subscription() { cancel(); }

    void cancel();

private:
    std::shared_ptr<detail::Observer> observer;
};

/// Callbacks in the order in which they came. Thread: one, its owner's.
/// A callback may add and end observers, itself included, and destroy the list. It must not throw.
class ObserverList final {
public:
    ObserverList() = default;
    ObserverList(const ObserverList&) = delete;
    ObserverList& operator=(const ObserverList&) = delete;
    ~ObserverList();

    Subscription add(std::move_only_function<void()> callback);

    /// Calls those that are in the list now.
    void tell();

private:
    void forgetEnded();

    std::vector<std::shared_ptr<detail::Observer>> observers;
};

} // namespace tavrin
