#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

/// A button, by what is told when it is pressed and what the user reads.
struct NotificationAction {
    std::string id;
    std::string title;
};

/// A kind of notifications that share their buttons.
struct NotificationCategory {
    std::string id;
    std::vector<NotificationAction> actions;
};

/// A message of the desktop, beside the windows of programs. Plain text in title and body.
struct UserNotification {
    std::string id; ///< one that is posted later under the same id takes its place
    std::string title;
    std::string body;
    std::string category;                        ///< none of those that were set: no buttons
    std::map<std::string, std::string> userInfo; ///< comes back with the response
};

/// The user pressed a button, or the message itself: then the action is empty.
struct NotificationResponse {
    std::string id;
    std::string action;
    std::string category;
    std::map<std::string, std::string> userInfo;
};

/// The desktop's notifications, with a sound. Nobody has to allow them, and nothing here fails: what cannot be shown is
/// not, and the log says so, without its text.
/// Thread: main executor only. Nothing blocks. Order: as called. Its destruction leaves on screen what is there.
class UserNotifications {
public:
    virtual ~UserNotifications() = default;

    /// Takes the place of those before; counts for what is posted from now on.
    virtual void setCategories(std::vector<NotificationCategory> categories) = 0;
    /// Called on main, in a job of its own, once at most for each notification posted: it goes with the response.
    virtual void setResponseHandler(std::function<void(const NotificationResponse&)> handler) = 0;

    virtual void post(UserNotification notification) = 0;
    /// Takes it from the screen. Nothing happens if it is not there.
    virtual void remove(std::string_view id) = 0;
};

} // namespace tavrin
