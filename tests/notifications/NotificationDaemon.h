#pragma once

#include "platform/linux/BusThread.h"

#include <gio/gio.h>

#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavrin {

/// Stands in for the desktop's notifications on the session bus: keeps what it is asked to show, and its user is the
/// test. One at a time.
class NotificationDaemon final {
public:
    struct Shown {
        std::string title;
        std::string body;
        std::vector<std::string> actions; // id and title by turns
        std::string desktopEntry;
    };
    struct Options {
        std::vector<std::string> capabilities{"actions", "body"};
        bool answers = true;
    };

    explicit NotificationDaemon(Options wanted) : options(std::move(wanted)) {
        run([this] { join(); });
    }
    NotificationDaemon() : NotificationDaemon(Options{}) {}
    ~NotificationDaemon() {
        run([this] {
            g_dbus_connection_close_sync(bus, nullptr, nullptr);
            g_object_unref(bus);
        });
    }
    NotificationDaemon(const NotificationDaemon&) = delete;
    NotificationDaemon& operator=(const NotificationDaemon&) = delete;

    std::map<guint32, Shown> shown() {
        const std::scoped_lock lock(mutex);
        return onScreen;
    }
    int callCount() {
        const std::scoped_lock lock(mutex);
        return calls;
    }
    /// The user presses a button; desktops take the message away then.
    void press(guint32 number, const std::string& action) {
        run([&] {
            emit("ActionInvoked", g_variant_new("(us)", number, action.c_str()));
            take(number, 2);
        });
    }
    void dismiss(guint32 number) {
        run([&] { take(number, 2); });
    }

private:
    static constexpr const char* name = "org.freedesktop.Notifications";
    static constexpr const char* path = "/org/freedesktop/Notifications";
    static constexpr const char* interfaces =
        "<node><interface name='org.freedesktop.Notifications'>"
        "<method name='GetCapabilities'><arg type='as' direction='out'/></method>"
        "<method name='Notify'><arg type='s' direction='in'/><arg type='u' direction='in'/>"
        "<arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='s' direction='in'/>"
        "<arg type='as' direction='in'/><arg type='a{sv}' direction='in'/><arg type='i' direction='in'/>"
        "<arg type='u' direction='out'/></method>"
        "<method name='CloseNotification'><arg type='u' direction='in'/></method>"
        "<signal name='ActionInvoked'><arg type='u'/><arg type='s'/></signal>"
        "<signal name='NotificationClosed'><arg type='u'/><arg type='u'/></signal>"
        "</interface></node>";

    /// On the bus thread; what it throws comes here.
    void run(const std::function<void()>& job) {
        std::packaged_task<void()> task(job);
        auto done = task.get_future();
        thread.post([&task] { task(); });
        done.get();
    }

    void join() {
        gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        bus =
            g_dbus_connection_new_for_address_sync(address,
                                                   GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                                                   nullptr, nullptr, nullptr);
        g_free(address);
        if (bus == nullptr) throw std::runtime_error("there is no session bus: run this through run.sh");
        GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(interfaces, nullptr);
        static const GDBusInterfaceVTable table = {called, nullptr, nullptr, {}};
        g_dbus_connection_register_object(bus, path, node->interfaces[0], &table, this, nullptr, nullptr);
        g_dbus_node_info_unref(node);
        GVariant* reply = g_dbus_connection_call_sync(
            bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            g_variant_new("(su)", name, 4U), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        guint32 answer = 0;
        if (reply != nullptr) g_variant_get(reply, "(u)", &answer);
        if (answer != 1) throw std::runtime_error("the name on the bus is taken");
        g_variant_unref(reply);
    }

    static void called(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
                       const gchar* /*interface*/, const gchar* method, GVariant* arguments,
                       GDBusMethodInvocation* invocation, gpointer self) {
        static_cast<NotificationDaemon*>(self)->answer(method, arguments, invocation);
    }

    void answer(const std::string& method, GVariant* arguments, GDBusMethodInvocation* invocation) {
        {
            const std::scoped_lock lock(mutex);
            ++calls;
        }
        if (!options.answers) {
            g_object_unref(invocation); // the caller waits in vain
            return;
        }
        GVariant* reply = nullptr;
        if (method == "GetCapabilities") {
            GVariantBuilder names;
            g_variant_builder_init(&names, G_VARIANT_TYPE("as"));
            for (const std::string& capability : options.capabilities)
                g_variant_builder_add(&names, "s", capability.c_str());
            reply = g_variant_new("(as)", &names);
        } else if (method == "Notify") {
            reply = g_variant_new("(u)", keep(arguments));
        } else {
            guint32 number = 0;
            g_variant_get(arguments, "(u)", &number);
            take(number, 3);
        }
        g_dbus_method_invocation_return_value(invocation, reply);
    }

    guint32 keep(GVariant* arguments) {
        guint32 number = 0;
        const gchar* title = nullptr;
        const gchar* body = nullptr;
        GVariantIter* actions = nullptr;
        GVariant* hints = nullptr;
        g_variant_get(arguments, "(&su&s&s&sas@a{sv}i)", nullptr, &number, nullptr, &title, &body, &actions, &hints,
                      nullptr);
        Shown message{.title = title, .body = body, .actions = {}, .desktopEntry = {}};
        for (const gchar* text = nullptr; g_variant_iter_next(actions, "&s", &text) != FALSE;)
            message.actions.emplace_back(text);
        const gchar* entry = nullptr;
        if (g_variant_lookup(hints, "desktop-entry", "&s", &entry) != FALSE) message.desktopEntry = entry;
        g_variant_iter_free(actions);
        g_variant_unref(hints);
        const std::scoped_lock lock(mutex);
        if (number == 0) number = ++lastNumber;
        onScreen[number] = message;
        return number;
    }

    void take(guint32 number, guint32 reason) {
        {
            const std::scoped_lock lock(mutex);
            onScreen.erase(number);
        }
        emit("NotificationClosed", g_variant_new("(uu)", number, reason));
    }

    void emit(const char* signal, GVariant* arguments) {
        g_dbus_connection_emit_signal(bus, nullptr, path, name, signal, arguments, nullptr);
        g_dbus_connection_flush_sync(bus, nullptr, nullptr);
    }

    const Options options;
    GDBusConnection* bus = nullptr;
    std::mutex mutex;
    std::map<guint32, Shown> onScreen; // guarded, by number
    guint32 lastNumber = 0;
    int calls = 0;
    BusThread thread; // last: ends first
};

} // namespace tavrin
