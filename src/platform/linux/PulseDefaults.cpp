#include "platform/linux/PulseDefaults.h"

#include <pulse/pulseaudio.h>

#include <string_view>
#include <utility>

namespace tavrin {

namespace {

using namespace std::chrono_literals;

constexpr Duration askEvery = 10s, quietTime = 1s;

/// Names such as @DEFAULT_SOURCE@ stand for a device that the server would choose; only a real name will do.
std::string realName(const char* given) {
    const std::string_view name = given == nullptr ? std::string_view() : std::string_view(given);
    return name.contains('@') ? std::string() : std::string(name);
}

} // namespace

PulseDefaults defaultsOf(const pa_server_info& info) {
    return {.sink = realName(info.default_sink_name), .source = realName(info.default_source_name)};
}

struct PulseDefaultsProbe::Callbacks {
    static void state(pa_context* context, void* self) {
        if (pa_context_get_state(context) != PA_CONTEXT_READY) return;
        if (auto* asked = pa_context_get_server_info(context, answer, self); asked != nullptr)
            pa_operation_unref(asked);
    }

    static void answer(pa_context*, const pa_server_info* info, void* self) {
        if (info == nullptr) return;
        auto& probe = *static_cast<PulseDefaultsProbe*>(self);
        probe.seen = defaultsOf(*info);
        probe.done();
    }
};

PulseDefaultsProbe::PulseDefaultsProbe(std::function<void()> listener) : done(std::move(listener)) {}

PulseDefaultsProbe::~PulseDefaultsProbe() {
    close();
}

void PulseDefaultsProbe::tick(pa_mainloop_api* loop, SteadyInstant now, const PulseDefaults& told) {
    close(); // half a second is enough for an answer
    const bool hasChanged = changedAt > askedAt && now - changedAt >= quietTime;
    if (!hasChanged && now - askedAt < askEvery) return;
    askedAt = now;
    toldThen = told;
    context = pa_context_new(loop, "Tavrin Assistant");
    if (context == nullptr) return;
    pa_context_set_state_callback(context, Callbacks::state, this);
    pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

void PulseDefaultsProbe::rest() {
    close();
    askedAt = {};
}

void PulseDefaultsProbe::forget() {
    rest();
    seen.reset();
}

PulseDefaults PulseDefaultsProbe::corrected(const PulseDefaults& told) {
    if (told != toldThen) seen.reset();
    return seen.value_or(told);
}

void PulseDefaultsProbe::close() {
    if (context == nullptr) return;
    pa_context_set_state_callback(context, nullptr, nullptr);
    pa_context_disconnect(context);
    pa_context_unref(std::exchange(context, nullptr));
}

} // namespace tavrin
