#pragma once

#include "BusService.h"

#include <map>
#include <mutex>
#include <vector>

namespace tavrin {

/// Stands in for the desktop's notifications on the session bus: keeps what it is asked to show, and its user is the
/// test. One at a time.
class NotificationDaemon final : public BusService {
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
        join(G_BUS_TYPE_SESSION, name, path, interfaces);
    }
    NotificationDaemon() : NotificationDaemon(Options{}) {}
    ~NotificationDaemon() override { leave(); }

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

    void answer(const std::string& method, GVariant* arguments, GDBusMethodInvocation* invocation) override {
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
    std::mutex mutex;
    std::map<guint32, Shown> onScreen; // guarded, by number
    guint32 lastNumber = 0;
    int calls = 0;
};

} // namespace tavrin
