#include "support/observe/ObserverList.h"

#include <utility>

namespace tavrin {

void detail::Observer::end() {
    isActive = false;
    if (!isBeingCalled) std::exchange(callback, nullptr) = nullptr;
}

Subscription& Subscription::operator=(Subscription&& other) noexcept {
    const Subscription old(std::exchange(observer, std::move(other.observer)));
    return *this;
}

void Subscription::cancel() {
    if (const auto ending = std::exchange(observer, nullptr)) ending->end();
}

ObserverList::~ObserverList() {
    for (const auto& observer : std::exchange(observers, {}))
        observer->end();
}

Subscription ObserverList::add(std::move_only_function<void()> callback) {
    forgetEnded();
    return Subscription(observers.emplace_back(std::make_shared<detail::Observer>(std::move(callback))));
}

void ObserverList::tell() {
    forgetEnded();
    const auto called = observers; // a callback may change the list or destroy it
    for (const auto& observer : called) {
        if (!observer->isActive) continue;
        observer->isBeingCalled = true;
        observer->callback();
        observer->isBeingCalled = false;
        if (!observer->isActive) observer->end();
    }
}

void ObserverList::forgetEnded() {
    std::erase_if(observers, [](const auto& observer) { return !observer->isActive; });
}

} // namespace tavrin
