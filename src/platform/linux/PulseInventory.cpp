#include "platform/linux/PulseInventory.h"

#include <pulse/pulseaudio.h>

#include <string_view>
#include <utility>

namespace tavrin {

namespace {

std::string text(const char* given) {
    return given == nullptr ? std::string() : std::string(given);
}

std::string_view property(const pa_proplist* properties, const char* key) {
    const char* found = pa_proplist_gets(properties, key);
    return found == nullptr ? std::string_view() : std::string_view(found);
}

template <class Port>
bool isDisplay(const Port* port) {
    return port != nullptr && (port->type == PA_DEVICE_PORT_TYPE_HDMI || port->type == PA_DEVICE_PORT_TYPE_TV);
}

AudioDevice::Transport transportOf(const pa_proplist* properties, bool isDisplay) {
    using enum AudioDevice::Transport;
    const auto bus = property(properties, PA_PROP_DEVICE_BUS);
    const auto form = property(properties, PA_PROP_DEVICE_FORM_FACTOR);
    if (isDisplay || form == "tv") return display;
    if (bus == "bluetooth" || property(properties, PA_PROP_DEVICE_API).starts_with("bluez")) return bluetooth;
    if (bus == "usb") return usb;
    if (bus == "pci" || bus == "isa" || form == "internal") return builtIn;
    return unknown;
}

template <class Info>
PulseSnapshot::Device describe(const Info& info) {
    PulseSnapshot::Device device;
    device.device.id = info.index;
    device.device.uid = text(info.name);
    device.device.name = info.description == nullptr ? device.device.uid : text(info.description);
    device.device.transport = transportOf(info.proplist, isDisplay(info.active_port));
    if (pa_sample_spec_valid(&info.sample_spec) != 0)
        device.format = {static_cast<double>(info.sample_spec.rate), info.sample_spec.channels};
    return device;
}

void letGo(pa_operation* operation) {
    if (operation != nullptr) pa_operation_unref(operation);
}

} // namespace

struct PulseInventory::Callbacks {
    static void server(pa_context*, const pa_server_info* info, void* self) {
        auto& gathered = static_cast<PulseInventory*>(self)->gathered;
        if (info == nullptr) return;
        gathered.defaults = defaultsOf(*info);
        gathered.isPipeWire = text(info->server_name).contains("PipeWire");
    }

    static void sink(pa_context*, const pa_sink_info* info, int end, void* self) {
        if (end != 0 || info == nullptr) return;
        auto device = describe(*info);
        device.monitor = text(info->monitor_source_name);
        static_cast<PulseInventory*>(self)->gathered.sinks.push_back(std::move(device));
    }

    /// The last of the three answers.
    static void source(pa_context* context, const pa_source_info* info, int end, void* self) {
        auto* inventory = static_cast<PulseInventory*>(self);
        if (end != 0 || info == nullptr) return inventory->finish(context, end > 0);
        auto device = describe(*info);
        device.isMonitor =
            info->monitor_of_sink != PA_INVALID_INDEX || property(info->proplist, PA_PROP_DEVICE_CLASS) == "monitor";
        inventory->gathered.sources.push_back(std::move(device));
    }
};

PulseInventory::PulseInventory(std::function<void(PulseSnapshot)> listener) : told(std::move(listener)) {}

void PulseInventory::refresh(pa_context* context) {
    if (isAsking)
        askAgain = true;
    else
        ask(context);
}

void PulseInventory::forget() {
    isAsking = askAgain = false;
}

void PulseInventory::ask(pa_context* context) {
    gathered = {};
    gathered.isConnected = true;
    isAsking = true;
    letGo(pa_context_get_server_info(context, Callbacks::server, this));
    letGo(pa_context_get_sink_info_list(context, Callbacks::sink, this));
    letGo(pa_context_get_source_info_list(context, Callbacks::source, this));
}

void PulseInventory::finish(pa_context* context, bool isComplete) {
    isAsking = false;
    if (isComplete) told(std::exchange(gathered, {}));
    if (std::exchange(askAgain, false)) ask(context);
}

} // namespace tavrin
