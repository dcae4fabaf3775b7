#pragma once

#include "platform/UserNotifications.h"
#include "support/async/Executor.h"

#include <algorithm>
#include <utility>

namespace tavrin {

/// A desktop that shows everything and whose user is the test.
class FakeUserNotifications final : public UserNotifications {
public:
    explicit FakeUserNotifications(Executor& mainExecutor) : main(mainExecutor) {}

    void setCategories(std::vector<NotificationCategory> newCategories) override {
        categories = std::move(newCategories);
    }
    void setResponseHandler(std::function<void(const NotificationResponse&)> newHandler) override {
        handler = std::move(newHandler);
    }
    void post(UserNotification notification) override {
        remove(notification.id);
        const auto category = std::ranges::find(categories, notification.category, &NotificationCategory::id);
        auto actions = category == categories.end() ? std::vector<NotificationAction>() : category->actions;
        shown.push_back({std::move(notification), std::move(actions)});
    }
    void remove(std::string_view id) override {
        std::erase_if(shown, [&](const Shown& each) { return each.notification.id == id; });
    }

    /// The user presses a button of a notification, or with an empty action the notification.
    void respond(std::string_view id, std::string action) {
        const auto found = std::ranges::find(shown, id, [](const Shown& each) { return each.notification.id; });
        if (found == shown.end()) return;
        UserNotification gone = std::move(found->notification);
        shown.erase(found);
        main.post([this, response = NotificationResponse{gone.id, std::move(action), gone.category, gone.userInfo}] {
            if (handler) handler(response);
        });
    }

    struct Shown {
        UserNotification notification;
        std::vector<NotificationAction> actions;
    };
    std::vector<Shown> shown; ///< what is on screen, in order

private:
    Executor& main;
    std::vector<NotificationCategory> categories;
    std::function<void(const NotificationResponse&)> handler;
};

} // namespace tavrin
