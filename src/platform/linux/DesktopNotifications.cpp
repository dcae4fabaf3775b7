#include "platform/linux/DesktopNotifications.h"

#include "support/files/ApplicationNames.h"
#include "support/log/Log.h"
#include "support/text/Unicode.h"

#include <gio/gio.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace tavrin {

namespace {

constexpr Logger logger{"Notifications"};
constexpr int mostMilliseconds = 2'000;
constexpr const char* programName = "Tavrin Assistant";
constexpr const char* busName = "org.freedesktop.Notifications";
constexpr const char* objectPath = "/org/freedesktop/Notifications";
constexpr const char* soundName = "message-new-instant";
/// What the service tells when the message itself is pressed.
constexpr const char* defaultAction = "default";

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using Reference = std::unique_ptr<T, Unref>;

/// The library takes valid UTF-8 only.
GVariant* variantOf(const std::string& text) {
    return g_variant_new_string(repairedUtf8(text).c_str());
}

/// For services that read markup in the body.
std::string escapedMarkup(std::string_view text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

/// None without `actions`.
GVariant* buttonsOf(const std::vector<NotificationAction>* actions) {
    GVariantBuilder buttons;
    g_variant_builder_init(&buttons, G_VARIANT_TYPE("as"));
    const auto add = [&](const std::string& id, const std::string& title) {
        g_variant_builder_add_value(&buttons, variantOf(id));
        g_variant_builder_add_value(&buttons, variantOf(title));
    };
    if (actions != nullptr) {
        add(defaultAction, "Open");
        for (const NotificationAction& action : *actions)
            add(action.id, action.title);
    }
    return g_variant_builder_end(&buttons);
}

GVariant* hints() {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&builder, "{sv}", "desktop-entry", variantOf(std::string(applicationIdentifier)));
    g_variant_builder_add(&builder, "{sv}", "sound-name", variantOf(soundName));
    return g_variant_builder_end(&builder);
}

} // namespace

/// Where responses go: touched on main only.
struct DesktopNotifications::Responses {
    std::function<void(const NotificationResponse&)> handler;
};

/// The service on the bus, seen from the bus thread.
class DesktopNotifications::Service final {
public:
    using Respond = std::function<void(NotificationResponse)>;

    explicit Service(Respond respondOnMain) : respond(std::move(respondOnMain)) {}
    ~Service() { leaveBus(); }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    void show(UserNotification notification, const std::vector<NotificationAction>& actions, GCancellable* cancellable);
    void close(const std::string& id, GCancellable* cancellable);

private:
    struct Shown {
        std::string owner; // who showed it, by the unique name on the bus
        guint32 number = 0;
        UserNotification notification;

        [[nodiscard]] const std::string& id() const { return notification.id; }
    };
    struct Abilities {
        std::string owner; // who has them
        std::vector<std::string> names;

        [[nodiscard]] bool has(std::string_view name) const { return std::ranges::find(names, name) != names.end(); }
    };
    struct Reply {
        Reference<GDBusMessage> message;

        [[nodiscard]] std::string sender() const {
            const gchar* name = g_dbus_message_get_sender(message.get());
            return name == nullptr ? "" : name;
        }
        [[nodiscard]] GVariant* body(const char* type) const {
            GVariant* content = g_dbus_message_get_body(message.get());
            return content != nullptr && g_variant_is_of_type(content, G_VARIANT_TYPE(type)) != FALSE ? content
                                                                                                      : nullptr;
        }
    };

    bool isOnBus(GCancellable* cancellable);
    void leaveBus();
    guint subscribe(const char* sender, const char* interface, const char* signal, const char* path,
                    const char* firstArgument);
    std::optional<Reply> call(const char* method, GVariant* arguments, GCancellable* cancellable);
    std::optional<Abilities> abilities(GCancellable* cancellable);

    static void received(GDBusConnection* bus, const gchar* sender, const gchar* path, const gchar* interface,
                         const gchar* signal, GVariant* arguments, gpointer self);
    void serviceEnded(const std::string& owner);
    void closed(const std::string& owner, guint32 number);
    void pressed(const std::string& owner, guint32 number, const std::string& action);

    Respond respond;
    Reference<GDBusConnection> bus;
    std::vector<guint> subscriptions;
    std::vector<Shown> shown;
};

bool DesktopNotifications::Service::isOnBus(GCancellable* cancellable) {
    if (bus && g_dbus_connection_is_closed(bus.get()) == FALSE) return true;
    leaveBus();
    GError* error = nullptr;
    bus.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, &error));
    if (!bus) {
        logger.warning("A notification is not shown: {}", error->message);
        g_error_free(error);
        return false;
    }
    // By its own choice the library would end this process with the bus.
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    subscriptions = {subscribe(busName, busName, "ActionInvoked", objectPath, nullptr),
                     subscribe(busName, busName, "NotificationClosed", objectPath, nullptr),
                     subscribe("org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                               "/org/freedesktop/DBus", busName)};
    return true;
}

void DesktopNotifications::Service::leaveBus() {
    for (const guint subscription : std::exchange(subscriptions, {}))
        g_dbus_connection_signal_unsubscribe(bus.get(), subscription);
    bus.reset();
    shown.clear();
}

guint DesktopNotifications::Service::subscribe(const char* sender, const char* interface, const char* signal,
                                               const char* path, const char* firstArgument) {
    return g_dbus_connection_signal_subscribe(bus.get(), sender, interface, signal, path, firstArgument,
                                              G_DBUS_SIGNAL_FLAGS_NONE, received, this, nullptr);
}

/// Absent, with a line in the log, if there was no answer in time or an error.
std::optional<DesktopNotifications::Service::Reply>
DesktopNotifications::Service::call(const char* method, GVariant* arguments, GCancellable* cancellable) {
    const Reference<GDBusMessage> message(g_dbus_message_new_method_call(busName, objectPath, busName, method));
    if (arguments != nullptr) g_dbus_message_set_body(message.get(), arguments);
    GError* error = nullptr;
    Reply reply{Reference<GDBusMessage>(g_dbus_connection_send_message_with_reply_sync(
        bus.get(), message.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, mostMilliseconds, nullptr, cancellable, &error))};
    if (reply.message && g_dbus_message_to_gerror(reply.message.get(), &error) == FALSE) return reply;
    logger.warning("The desktop's notifications do not take \"{}\": {}", method, error->message);
    g_error_free(error);
    return std::nullopt;
}

/// Asked for each time: a service may take the place of another.
std::optional<DesktopNotifications::Service::Abilities>
DesktopNotifications::Service::abilities(GCancellable* cancellable) {
    const auto reply = call("GetCapabilities", nullptr, cancellable);
    if (!reply) return std::nullopt;
    Abilities result{.owner = reply->sender(), .names = {}};
    if (GVariant* body = reply->body("(as)"); body != nullptr) {
        GVariantIter* texts = nullptr;
        g_variant_get(body, "(as)", &texts);
        for (const gchar* text = nullptr; g_variant_iter_next(texts, "&s", &text) != FALSE;)
            result.names.emplace_back(text);
        g_variant_iter_free(texts);
    }
    return result;
}

void DesktopNotifications::Service::show(UserNotification notification, const std::vector<NotificationAction>& actions,
                                         GCancellable* cancellable) {
    if (!isOnBus(cancellable)) return;
    const auto can = abilities(cancellable);
    if (!can) return;
    const auto former = std::ranges::find(shown, notification.id, &Shown::id);
    const guint32 replaced = former == shown.end() || former->owner != can->owner ? 0 : former->number;
    const auto reply =
        call("Notify",
             g_variant_new("(su@s@s@s@as@a{sv}i)", programName, replaced, variantOf(std::string(applicationIdentifier)),
                           variantOf(notification.title),
                           variantOf(can->has("body-markup") ? escapedMarkup(notification.body) : notification.body),
                           buttonsOf(can->has("actions") ? &actions : nullptr), hints(), -1),
             cancellable);
    GVariant* body = reply ? reply->body("(u)") : nullptr;
    if (body == nullptr) return;
    if (former != shown.end()) shown.erase(former);
    guint32 number = 0;
    g_variant_get(body, "(u)", &number);
    shown.push_back({reply->sender(), number, std::move(notification)});
}

void DesktopNotifications::Service::close(const std::string& id, GCancellable* cancellable) {
    const auto found = std::ranges::find(shown, id, &Shown::id);
    if (found == shown.end()) return;
    const guint32 number = found->number;
    shown.erase(found);
    if (isOnBus(cancellable)) call("CloseNotification", g_variant_new("(u)", number), cancellable);
}

void DesktopNotifications::Service::received(GDBusConnection* /*bus*/, const gchar* sender, const gchar* /*path*/,
                                             const gchar* /*interface*/, const gchar* signal, GVariant* arguments,
                                             gpointer self) {
    auto& service = *static_cast<Service*>(self);
    const std::string_view name = signal;
    const auto isOfType = [&](const char* type) {
        return g_variant_is_of_type(arguments, G_VARIANT_TYPE(type)) != FALSE;
    };
    guint32 number = 0;
    if (name == "ActionInvoked" && isOfType("(us)")) {
        const gchar* action = nullptr;
        g_variant_get(arguments, "(u&s)", &number, &action);
        service.pressed(sender, number, action);
    } else if (name == "NotificationClosed" && isOfType("(uu)")) {
        g_variant_get(arguments, "(uu)", &number, nullptr);
        service.closed(sender, number);
    } else if (name == "NameOwnerChanged" && isOfType("(sss)")) {
        const gchar* before = nullptr;
        g_variant_get(arguments, "(&s&s&s)", nullptr, &before, nullptr);
        service.serviceEnded(before);
    }
}

/// Another one counts anew: its numbers mean other notifications.
void DesktopNotifications::Service::serviceEnded(const std::string& owner) {
    std::erase_if(shown, [&](const Shown& each) { return each.owner == owner; });
}

void DesktopNotifications::Service::closed(const std::string& owner, guint32 number) {
    std::erase_if(shown, [&](const Shown& each) { return each.owner == owner && each.number == number; });
}

void DesktopNotifications::Service::pressed(const std::string& owner, guint32 number, const std::string& action) {
    const auto found =
        std::ranges::find_if(shown, [&](const Shown& each) { return each.owner == owner && each.number == number; });
    if (found == shown.end()) return;
    UserNotification gone = std::move(found->notification);
    shown.erase(found);
    respond({std::move(gone.id), action == defaultAction ? "" : action, std::move(gone.category),
             std::move(gone.userInfo)});
}

DesktopNotifications::DesktopNotifications(Executor& main)
    : responses(std::make_shared<Responses>()),
      service(std::make_unique<Service>([&main, to = responses](NotificationResponse response) {
          main.post([to, response = std::move(response)] {
              if (to->handler) to->handler(response);
          });
      })) {}

DesktopNotifications::~DesktopNotifications() {
    responses->handler = nullptr;
}

void DesktopNotifications::setCategories(std::vector<NotificationCategory> newCategories) {
    categories = std::move(newCategories);
}

void DesktopNotifications::setResponseHandler(std::function<void(const NotificationResponse&)> handler) {
    responses->handler = std::move(handler);
}

void DesktopNotifications::post(UserNotification notification) {
    const auto category = std::ranges::find(categories, notification.category, &NotificationCategory::id);
    auto actions = category == categories.end() ? std::vector<NotificationAction>() : category->actions;
    thread.post([this, notification = std::move(notification), actions = std::move(actions)] {
        service->show(notification, actions, thread.cancellable());
    });
}

void DesktopNotifications::remove(std::string_view id) {
    thread.post([this, id = std::string(id)] { service->close(id, thread.cancellable()); });
}

} // namespace tavrin
