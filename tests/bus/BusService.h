#pragma once

#include "platform/linux/BusThread.h"

#include <gio/gio.h>

#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>

namespace tavrin {

/// Stands in for a service of the system on a bus of the test's own: answers on a thread of its own, from join() until
/// leave(), which a final class calls as the last and the first thing it does.
class BusService {
public:
    BusService(const BusService&) = delete;
    BusService& operator=(const BusService&) = delete;

protected:
    BusService() = default;
    virtual ~BusService() = default;

    virtual void answer(const std::string& method, GVariant* arguments, GDBusMethodInvocation* invocation) = 0;

    /// Takes the name, with one object of one interface.
    void join(GBusType kind, const char* name, const char* path, const char* interfaces) {
        run([&] {
            gchar* address = g_dbus_address_get_for_bus_sync(kind, nullptr, nullptr);
            const auto flags = GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                    G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
            bus = g_dbus_connection_new_for_address_sync(address, flags, nullptr, nullptr, nullptr);
            g_free(address);
            if (bus == nullptr) throw std::runtime_error("there is no bus: run this through run.sh");
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
        });
    }
    void leave() {
        run([this] {
            g_dbus_connection_close_sync(bus, nullptr, nullptr);
            g_object_unref(bus);
        });
        thread.reset();
    }

    /// On the thread of the bus; what it throws comes here.
    void run(const std::function<void()>& job) {
        std::packaged_task<void()> task(job);
        auto done = task.get_future();
        thread->post([&task] { task(); });
        done.get();
    }

    GDBusConnection* bus = nullptr;

private:
    static void called(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
                       const gchar* /*interface*/, const gchar* method, GVariant* arguments,
                       GDBusMethodInvocation* invocation, gpointer self) {
        static_cast<BusService*>(self)->answer(method, arguments, invocation);
    }

    std::unique_ptr<BusThread> thread = std::make_unique<BusThread>();
};

} // namespace tavrin
