#include "platform/linux/PulseServer.h"

#include "support/log/Log.h"
#include "support/time/Clock.h"

#include <pulse/pulseaudio.h>

#include <stdexcept>
#include <utility>

namespace tavrin {

namespace {

using namespace std::chrono_literals;

constexpr Logger log{"sound"};
constexpr pa_usec_t tickMicroseconds = 500'000;
constexpr Duration connectLimit = 2s, answerLimit = 2500ms, askEvery = 1s, retryEvery = 1s;

SteadyInstant now() {
    return SystemSteadyClock().now();
}

} // namespace

struct PulseServer::Callbacks {
    static PulseServer& of(void* self) { return *static_cast<PulseServer*>(self); }

    static void state(pa_context* context, void* self) {
        switch (pa_context_get_state(context)) {
        case PA_CONTEXT_READY: {
            // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): flags that are added up
            constexpr auto events = static_cast<pa_subscription_mask_t>(
                PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE);
            if (auto* operation = pa_context_subscribe(context, events, nullptr, nullptr); operation != nullptr)
                pa_operation_unref(operation);
            return of(self).inventory.refresh(context);
        }
        case PA_CONTEXT_FAILED:
        case PA_CONTEXT_TERMINATED:
            return of(self).lose(pa_strerror(pa_context_errno(context)));
        default:
            return;
        }
    }

    static void event(pa_context* context, pa_subscription_event_type_t, std::uint32_t, void* self) {
        of(self).probe.changed(now());
        of(self).inventory.refresh(context);
    }

    /// A server that relays for another may tell of a change before it knows the new defaults: looked at again here.
    static void answer(pa_context* context, const pa_server_info* info, void* self) {
        of(self).isAsked = false;
        of(self).since = now();
        if (info != nullptr && defaultsOf(*info) != of(self).told) of(self).inventory.refresh(context);
    }

    static void timer(pa_mainloop_api*, pa_time_event*, const timeval*, void* self) { of(self).tick(); }
};

PulseServer::Lock::Lock(PulseServer& server) : loop(server.loop) {
    pa_threaded_mainloop_lock(loop);
}
PulseServer::Lock::~Lock() {
    pa_threaded_mainloop_unlock(loop);
}

PulseServer::PulseServer(Duration firstAnswer)
    : loop(pa_threaded_mainloop_new()), inventory([this](PulseSnapshot found) { accept(std::move(found)); }),
      probe([this] { inventory.refresh(context); }) {
    if (loop == nullptr) throw std::runtime_error("no main loop for sound");
    pa_threaded_mainloop_set_name(loop, "tavrin-sound");
    connect();
    timer = pa_context_rttime_new(context, pa_rtclock_now() + tickMicroseconds, Callbacks::timer, this);
    if (pa_threaded_mainloop_start(loop) < 0) {
        drop();
        pa_threaded_mainloop_free(loop);
        throw std::runtime_error("no thread for sound");
    }
    if (firstAnswer > Duration::zero()) waitUntil(firstAnswer, [this] { return status != Status::connecting; });
}

PulseServer::~PulseServer() {
    {
        const Lock lock(*this);
        drop();
        pa_threaded_mainloop_get_api(loop)->time_free(timer);
    }
    pa_threaded_mainloop_stop(loop);
    pa_threaded_mainloop_free(loop);
}

std::shared_ptr<const PulseSnapshot> PulseServer::snapshot() const {
    const std::scoped_lock guard(mutex);
    return latest;
}

bool PulseServer::waitUntilConnected(Duration limit) {
    {
        const Lock lock(*this);
        if (status == Status::down) connect();
    }
    waitUntil(limit, [this] { return status != Status::connecting; });
    return status == Status::connected;
}

bool PulseServer::waitUntil(Duration limit, const std::function<bool()>& condition) {
    std::unique_lock guard(mutex);
    return changed.wait_for(guard, limit, condition);
}

void PulseServer::waitForChange(const std::shared_ptr<const PulseSnapshot>& known,
                                const std::function<bool()>& isOver) {
    std::unique_lock guard(mutex);
    changed.wait(guard, [&] { return latest != known || isOver(); });
}

void PulseServer::wake() {
    // Whoever has looked at the condition and not yet begun to wait holds the mutex.
    {
        const std::scoped_lock guard(mutex);
    }
    changed.notify_all();
}

pa_context* PulseServer::connection() const {
    return status == Status::connected ? context : nullptr;
}

void PulseServer::add(Client& client) {
    clients.push_back(&client);
}

void PulseServer::remove(Client& client) {
    std::erase(clients, &client);
}

void PulseServer::connect() {
    drop();
    context = pa_context_new(pa_threaded_mainloop_get_api(loop), "Tavrin Assistant");
    if (context == nullptr) throw std::runtime_error("no connection for sound");
    status = Status::connecting;
    since = now();
    pa_context_set_state_callback(context, Callbacks::state, this);
    pa_context_set_subscribe_callback(context, Callbacks::event, this);
    // The server belongs to the session; an application that starts one would hold on to a broken one.
    if (pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 && status != Status::down)
        lose(pa_strerror(pa_context_errno(context)));
}

/// The streams of the old connection fail here; they are told.
void PulseServer::drop() {
    if (context == nullptr) return;
    pa_context_set_state_callback(context, nullptr, nullptr);
    pa_context_set_subscribe_callback(context, nullptr, nullptr);
    pa_context_disconnect(context);
    pa_context_unref(std::exchange(context, nullptr));
    inventory.forget();
    probe.forget();
    isAsked = false;
}

void PulseServer::lose(const char* reason) {
    if (!std::exchange(isFailureTold, true)) log.warning("no sound server: {}", reason);
    status = Status::down;
    since = now();
    publish({});
}

void PulseServer::accept(PulseSnapshot snapshot) {
    if (status != Status::connected) {
        log.info("sound server connected: {} outputs, {} sources{}", snapshot.sinks.size(), snapshot.sources.size(),
                 snapshot.isPipeWire ? ", PipeWire" : "");
        status = Status::connected;
        since = now();
        isFailureTold = false;
    }
    told = snapshot.defaults;
    snapshot.defaults = probe.corrected(told);
    publish(std::move(snapshot));
}

void PulseServer::publish(PulseSnapshot snapshot) {
    {
        const std::scoped_lock guard(mutex);
        if (snapshot != *latest) latest = std::make_shared<const PulseSnapshot>(std::move(snapshot));
    }
    changed.notify_all();
    checkClients();
}

void PulseServer::tick() {
    watch(now());
    if (status == Status::connected && recordings > 0 && snapshot()->isPipeWire)
        probe.tick(pa_threaded_mainloop_get_api(loop), now(), told);
    else
        probe.rest();
    checkClients();
    pa_context_rttime_restart(context, timer, pa_rtclock_now() + tickMicroseconds);
}

void PulseServer::watch(SteadyInstant now) {
    const Duration passed = now - since;
    if (status == Status::down) {
        if (passed >= retryEvery) connect();
    } else if (status == Status::connecting) {
        if (passed >= connectLimit) lose("it does not answer");
    } else if (isAsked) {
        if (passed >= answerLimit) lose("it answers no more");
    } else if (passed >= askEvery) {
        isAsked = true;
        since = now;
        if (auto* operation = pa_context_get_server_info(context, Callbacks::answer, this); operation != nullptr)
            pa_operation_unref(operation);
    }
}

void PulseServer::checkClients() {
    for (Client* client : clients)
        client->check();
}

} // namespace tavrin
