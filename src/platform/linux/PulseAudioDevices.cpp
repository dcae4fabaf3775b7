#include "platform/linux/PulseAudioDevices.h"

#include "platform/linux/PulseServer.h"

#include <utility>

namespace tavrin {

PulseAudioDevices::PulseAudioDevices(PulseServer& connection) : server(connection) {}

PulseAudioDevices::~PulseAudioDevices() {
    onChange({});
}

std::vector<AudioDevice> PulseAudioDevices::inputs() const {
    std::vector<AudioDevice> found;
    for (const auto snapshot = server.snapshot(); const auto& source : snapshot->sources)
        if (!source.isMonitor) found.push_back(source.device);
    return found;
}

std::vector<AudioDevice> PulseAudioDevices::outputs() const {
    std::vector<AudioDevice> found;
    for (const auto snapshot = server.snapshot(); const auto& sink : snapshot->sinks)
        found.push_back(sink.device);
    return found;
}

std::optional<AudioDevice> PulseAudioDevices::defaultInput() const {
    const auto snapshot = server.snapshot();
    const auto* microphone = snapshot->microphone();
    return microphone == nullptr ? std::nullopt : std::optional(microphone->device);
}

std::optional<AudioDevice> PulseAudioDevices::defaultOutput() const {
    const auto snapshot = server.snapshot();
    const auto* speaker = snapshot->speaker();
    return speaker == nullptr ? std::nullopt : std::optional(speaker->device);
}

void PulseAudioDevices::onChange(std::function<void()> changed) {
    if (teller.joinable()) {
        isEnding = true;
        server.wake();
        teller.join();
        isEnding = false;
    }
    if (!changed) return;
    teller = std::thread([this, known = server.snapshot(), listener = std::move(changed)] { tell(known, listener); });
}

void PulseAudioDevices::tell(std::shared_ptr<const PulseSnapshot> known, const std::function<void()>& changed) {
    const auto isOver = [this] { return isEnding.load(); };
    while (true) {
        server.waitForChange(known, isOver);
        if (isOver()) return;
        // Taken first: what changes while the listener runs is told by another call.
        known = server.snapshot();
        changed();
    }
}

} // namespace tavrin
