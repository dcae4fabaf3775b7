#pragma once

#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <poll.h>
#include <unistd.h>

#include <future>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tavrin {

/// Stands in for the login manager on the system bus and knows who inhibits what, and who let go.
class LoginManager final {
public:
    struct Inhibition {
        std::string arguments; // joined by "|"
        int ours = -1;         // the other end of the descriptor that was given out
    };

    LoginManager() {
        std::promise<void> promise;
        auto started = promise.get_future();
        thread = std::thread([this, &promise] { run(promise); });
        started.get();
    }
    ~LoginManager() {
        g_main_context_invoke(
            context,
            [](gpointer loop) -> gboolean {
                g_main_loop_quit(static_cast<GMainLoop*>(loop));
                return G_SOURCE_REMOVE;
            },
            loop);
        thread.join();
        for (const Inhibition& inhibition : inhibitions)
            ::close(inhibition.ours);
        g_main_loop_unref(loop);
        g_main_context_unref(context);
    }
    LoginManager(const LoginManager&) = delete;
    LoginManager& operator=(const LoginManager&) = delete;

    /// What was asked for so far.
    std::vector<std::string> asked() {
        const std::scoped_lock lock(mutex);
        std::vector<std::string> all;
        all.reserve(inhibitions.size());
        for (const Inhibition& inhibition : inhibitions)
            all.push_back(inhibition.arguments);
        return all;
    }
    /// How many of them are held at this moment.
    int held() {
        const std::scoped_lock lock(mutex);
        int count = 0;
        for (const Inhibition& inhibition : inhibitions) {
            pollfd state{.fd = inhibition.ours, .events = 0, .revents = 0};
            ::poll(&state, 1, 0);
            if ((state.revents & POLLHUP) == 0) ++count;
        }
        return count;
    }

private:
    static constexpr const char* interfaces =
        "<node><interface name='org.freedesktop.login1.Manager'><method name='Inhibit'>"
        "<arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='s' direction='in'/>"
        "<arg type='s' direction='in'/><arg type='h' direction='out'/></method></interface></node>";

    void run(std::promise<void>& started) {
        g_main_context_push_thread_default(context);
        gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
        const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        GDBusConnection* bus = g_dbus_connection_new_for_address_sync(address, flags, nullptr, nullptr, nullptr);
        g_free(address);
        if (bus == nullptr) throw std::runtime_error("there is no system bus: run this through run.sh");
        GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(interfaces, nullptr);
        const GDBusInterfaceVTable table = {called, nullptr, nullptr, {}};
        g_dbus_connection_register_object(bus, "/org/freedesktop/login1", node->interfaces[0], &table, this, nullptr,
                                          nullptr);
        GVariant* reply = g_dbus_connection_call_sync(
            bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            g_variant_new("(su)", "org.freedesktop.login1", 4U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        g_variant_unref(reply);
        started.set_value();
        g_main_loop_run(loop);
        g_dbus_node_info_unref(node);
        g_object_unref(bus);
        g_main_context_pop_thread_default(context);
    }

    static void called(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
                       const gchar* /*interface*/, const gchar* /*method*/, GVariant* arguments,
                       GDBusMethodInvocation* invocation, gpointer self) {
        const gchar* texts[4];
        g_variant_get(arguments, "(&s&s&s&s)", &texts[0], &texts[1], &texts[2], &texts[3]);
        int ends[2];
        if (::pipe(ends) != 0) std::abort();
        GUnixFDList* descriptors = g_unix_fd_list_new();
        g_unix_fd_list_append(descriptors, ends[1], nullptr);
        ::close(ends[1]);
        static_cast<LoginManager*>(self)->note(std::string(texts[0]) + "|" + texts[1] + "|" + texts[2] + "|" + texts[3],
                                               ends[0]);
        g_dbus_method_invocation_return_value_with_unix_fd_list(invocation, g_variant_new("(h)", 0), descriptors);
        g_object_unref(descriptors);
    }

    void note(std::string arguments, int ours) {
        const std::scoped_lock lock(mutex);
        inhibitions.push_back({std::move(arguments), ours});
    }

    GMainContext* context = g_main_context_new();
    GMainLoop* loop = g_main_loop_new(context, FALSE);
    std::mutex mutex;
    std::vector<Inhibition> inhibitions; // guarded
    std::thread thread;
};

} // namespace tavrin
