#include "platform/linux/LogindPowerActivity.h"

#include "support/log/Log.h"

#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <unistd.h>

#include <mutex>
#include <utility>

namespace tavrin {

namespace {

constexpr Logger logger{"PowerActivity"};
constexpr int mostMilliseconds = 2'000;
constexpr const char* who = "Tavrin Assistant";

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using Reference = std::unique_ptr<T, Unref>;

/// The inhibitor lasts until the last copy of its descriptor is closed. It comes later than the token, perhaps too
/// late.
class Inhibitor final {
public:
    ~Inhibitor() { release(); }

    void take(int newDescriptor) {
        const std::scoped_lock lock(mutex);
        if (isReleased)
            ::close(newDescriptor);
        else
            descriptor = newDescriptor;
    }
    void release() {
        const std::scoped_lock lock(mutex);
        isReleased = true;
        if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
    }
    bool isWanted() {
        const std::scoped_lock lock(mutex);
        return !isReleased;
    }

private:
    std::mutex mutex;
    int descriptor = -1; // guarded
    bool isReleased = false;
};

class InhibitorToken final : public PowerActivity::Token {
public:
    explicit InhibitorToken(std::shared_ptr<Inhibitor> held) : inhibitor(std::move(held)) {}
    ~InhibitorToken() override { inhibitor->release(); }

private:
    std::shared_ptr<Inhibitor> inhibitor;
};

} // namespace

class LogindPowerActivity::Bus final {
public:
    Bus() : cancellable(g_cancellable_new()) {}

    void stop() { g_cancellable_cancel(cancellable.get()); }

    /// The descriptor, or -1. Blocks for two seconds at most once the bus is there.
    int inhibit(const std::string& reason) {
        GError* error = nullptr;
        const Reference<GDBusConnection> connection(g_bus_get_sync(G_BUS_TYPE_SYSTEM, cancellable.get(), &error));
        if (!connection) return fail(error);
        // By its own choice the library would end this process with the bus.
        g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
        GUnixFDList* received = nullptr;
        GVariant* reply = g_dbus_connection_call_with_unix_fd_list_sync(
            connection.get(), "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
            "Inhibit", g_variant_new("(ssss)", "idle:sleep", who, reason.c_str(), "block"), G_VARIANT_TYPE("(h)"),
            G_DBUS_CALL_FLAGS_NONE, mostMilliseconds, nullptr, &received, cancellable.get(), &error);
        const Reference<GUnixFDList> descriptors(received);
        if (reply == nullptr) return fail(error);
        gint32 index = -1;
        g_variant_get(reply, "(h)", &index);
        g_variant_unref(reply);
        if (!descriptors || index < 0 || index >= g_unix_fd_list_get_length(descriptors.get())) return -1;
        const int descriptor = g_unix_fd_list_get(descriptors.get(), index, &error);
        return descriptor < 0 ? fail(error) : descriptor;
    }

private:
    static int fail(GError* error) {
        logger.warning("Sleep is not held off: {}", error->message);
        g_error_free(error);
        return -1;
    }

    Reference<GCancellable> cancellable;
};

LogindPowerActivity::LogindPowerActivity() : bus(std::make_shared<Bus>()) {}

LogindPowerActivity::~LogindPowerActivity() {
    bus->stop();
}

std::shared_ptr<PowerActivity::Token> LogindPowerActivity::begin(std::string reason) {
    auto inhibitor = std::make_shared<Inhibitor>();
    worker.post([bus = bus, inhibitor, text = std::move(reason)] {
        if (!inhibitor->isWanted()) return;
        const int descriptor = bus->inhibit(text);
        if (descriptor >= 0) inhibitor->take(descriptor);
    });
    return std::make_shared<InhibitorToken>(std::move(inhibitor));
}

} // namespace tavrin
