#include "platform/linux/PulseSnapshot.h"

#include <algorithm>

namespace tavrin {

namespace {

const PulseSnapshot::Device* named(const std::vector<PulseSnapshot::Device>& devices, const std::string& uid) {
    const auto found = std::ranges::find(devices, uid, [](const auto& each) -> auto& { return each.device.uid; });
    return found == devices.end() ? nullptr : &*found;
}

} // namespace

const PulseSnapshot::Device* PulseSnapshot::speaker() const {
    return named(sinks, defaults.sink);
}

const PulseSnapshot::Device* PulseSnapshot::microphone() const {
    const Device* source = named(sources, defaults.source);
    return source != nullptr && !source->isMonitor ? source : nullptr;
}

bool PulseSnapshot::hasSource(const std::string& uid) const {
    return named(sources, uid) != nullptr;
}

} // namespace tavrin
