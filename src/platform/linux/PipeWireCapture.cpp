#include "platform/linux/PipeWireCapture.h"

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>

#include <cerrno>
#include <chrono>

// The library's calls are macros with statements in them.
#pragma clang diagnostic ignored "-Wgnu-statement-expression-from-macro-expansion"

namespace tavrin {

namespace {

/// How much later than expected a cycle may begin without sound having been lost.
constexpr std::uint64_t tolerance = 5'000'000;

} // namespace

struct PipeWireCapture::Hooks {
    spa_hook core{}, filter{};
};

struct PipeWireCapture::Callbacks {
    static PipeWireCapture& of(void* self) { return *static_cast<PipeWireCapture*>(self); }

    static void coreError(void* self, std::uint32_t id, int, int result, const char*) {
        // Other objects fail when a stream goes while it is being linked.
        if (id == PW_ID_CORE) of(self).status = result < 0 ? result : -EIO;
    }

    static void state(void* self, pw_filter_state, pw_filter_state state, const char*) {
        if (state == PW_FILTER_STATE_ERROR) of(self).status = -EIO;
        if (state != PW_FILTER_STATE_PAUSED && state != PW_FILTER_STATE_STREAMING) return;
        of(self).links->setTarget(pw_filter_get_node_id(of(self).filter));
    }

    static void process(void* self, spa_io_position* position) { of(self).process(position); }

    static constexpr pw_core_events coreEvents{.version = PW_VERSION_CORE_EVENTS, .error = coreError};
    static constexpr pw_filter_events filterEvents{
        .version = PW_VERSION_FILTER_EVENTS, .state_changed = state, .process = process};
};

PipeWireCapture::PipeWireCapture(pw_context* context, pw_loop* owner, spa_source* signal, PipeWireBlocks& target)
    : loop(owner), ready(signal), blocks(target), hooks(std::make_unique<Hooks>()) {
    core = pw_context_connect(context, nullptr, 0);
    if (core == nullptr) {
        status = errno == 0 ? -EIO : -errno;
        return;
    }
    pw_core_add_listener(core, &hooks->core, &Callbacks::coreEvents, this);
    links = std::make_unique<PipeWireLinks>(core);
    addNode();
}

PipeWireCapture::~PipeWireCapture() {
    if (core == nullptr) return;
    if (filter != nullptr) {
        spa_hook_remove(&hooks->filter);
        pw_filter_destroy(filter);
    }
    links.reset();
    spa_hook_remove(&hooks->core);
    pw_core_disconnect(core);
}

void PipeWireCapture::addNode() {
    // It runs all the time, so that silence comes while nothing plays and a hung server can be told from quiet.
    filter =
        pw_filter_new(core, "Tavrin Assistant system sound",
                      pw_properties_new(PW_KEY_NODE_NAME, "tavrin-system-sound", PW_KEY_MEDIA_TYPE, "Audio",
                                        PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_NODE_ALWAYS_PROCESS, "true", nullptr));
    if (filter == nullptr) {
        status = -ENOMEM;
        return;
    }
    pw_filter_add_listener(filter, &hooks->filter, &Callbacks::filterEvents, this);
    const auto addPort = [this](const char* name) {
        return pw_filter_add_port(
            filter, PW_DIRECTION_INPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 1,
            pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME, name, nullptr), nullptr,
            0);
    };
    left = addPort(PipeWireLinks::leftPort);
    right = addPort(PipeWireLinks::rightPort);
    if (left == nullptr || right == nullptr) {
        status = -ENOMEM;
        return;
    }
    if (const int result = pw_filter_connect(filter, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0); result < 0)
        status = result;
}

/// Real-time thread.
void PipeWireCapture::process(const spa_io_position* position) {
    if (position == nullptr || position->clock.rate.denom == 0) return;
    const auto frames = static_cast<std::uint32_t>(position->clock.duration);
    const std::uint32_t rate = position->clock.rate.denom;
    const std::uint64_t lasts = std::uint64_t{frames} * 1'000'000'000 / rate;
    const std::uint64_t begin = position->clock.nsec;
    if (expected != 0 && begin > expected + lasts / 2 + tolerance) blocks.markGap();
    expected = begin + lasts;
    const auto* leftSamples = static_cast<const float*>(pw_filter_get_dsp_buffer(left, frames));
    const auto* rightSamples = static_cast<const float*>(pw_filter_get_dsp_buffer(right, frames));
    const SteadyInstant end{Duration(static_cast<Duration::rep>(expected))};
    if (blocks.write(leftSamples, rightSamples, frames, rate, end)) pw_loop_signal_event(loop, ready);
}

} // namespace tavrin
