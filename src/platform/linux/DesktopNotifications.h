#pragma once

#include "platform/UserNotifications.h"
#include "platform/linux/BusThread.h"
#include "support/async/Executor.h"

#include <memory>

namespace tavrin {

/// Notifications through the desktop's service on the session bus, on a thread of its own. Without such a service
/// nothing is shown, and the log says so; one that comes later is used. What a service showed that has ended is gone.
///
/// Lifetime: the main executor outlives it. The destructor waits for no answer of the service.
class DesktopNotifications final : public UserNotifications {
public:
    explicit DesktopNotifications(Executor& main);
    ~DesktopNotifications() override;

    void setCategories(std::vector<NotificationCategory> newCategories) override;
    void setResponseHandler(std::function<void(const NotificationResponse&)> handler) override;
    void post(UserNotification notification) override;
    void remove(std::string_view id) override;

private:
    class Service;
    struct Responses;

    std::vector<NotificationCategory> categories;
    std::shared_ptr<Responses> responses;
    // The thread uses the service, and goes first.
    std::unique_ptr<Service> service;
    BusThread thread;
};

} // namespace tavrin
