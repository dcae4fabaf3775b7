#pragma once

#include "BusService.h"

#include <gio/gunixfdlist.h>
#include <poll.h>
#include <unistd.h>

#include <mutex>
#include <vector>

namespace tavrin {

/// Stands in for the login manager on the system bus and knows who inhibits what, and who let go.
class LoginManager final : public BusService {
public:
    struct Inhibition {
        std::string arguments; // joined by "|"
        int ours = -1;         // the other end of the descriptor that was given out
    };

    LoginManager() { join(G_BUS_TYPE_SYSTEM, "org.freedesktop.login1", "/org/freedesktop/login1", interfaces); }
    ~LoginManager() override {
        leave();
        for (const Inhibition& inhibition : inhibitions)
            ::close(inhibition.ours);
    }

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

    void answer(const std::string& /*method*/, GVariant* arguments, GDBusMethodInvocation* invocation) override {
        const gchar* texts[4];
        g_variant_get(arguments, "(&s&s&s&s)", &texts[0], &texts[1], &texts[2], &texts[3]);
        int ends[2];
        if (::pipe(ends) != 0) std::abort();
        GUnixFDList* descriptors = g_unix_fd_list_new();
        g_unix_fd_list_append(descriptors, ends[1], nullptr);
        ::close(ends[1]);
        {
            const std::scoped_lock lock(mutex);
            inhibitions.push_back({std::string(texts[0]) + "|" + texts[1] + "|" + texts[2] + "|" + texts[3], ends[0]});
        }
        g_dbus_method_invocation_return_value_with_unix_fd_list(invocation, g_variant_new("(h)", 0), descriptors);
        g_object_unref(descriptors);
    }

    std::mutex mutex;
    std::vector<Inhibition> inhibitions; // guarded
};

} // namespace tavrin
