#pragma once

#include "platform/AudioBuffer.h"
#include "platform/AudioDevices.h"
#include "platform/linux/PulseDefaults.h"

#include <string>
#include <vector>

namespace tavrin {

/// What the sound server told of itself, as of one moment. A plain value; empty while there is no server.
struct PulseSnapshot {
    struct Device {
        AudioDevice device;
        AudioFormat format;
        /// Of a speaker: the name of the source that repeats what it plays.
        std::string monitor;
        /// Of a source: it repeats what a speaker plays, so it is no microphone.
        bool isMonitor = false;

        bool operator==(const Device&) const = default;
    };

    bool isConnected = false;
    /// Another server speaks the same protocol in front of its own: the name tells.
    bool isPipeWire = false;
    std::vector<Device> sinks, sources;
    PulseDefaults defaults;

    bool operator==(const PulseSnapshot&) const = default;

    /// None if there is no such device. They live as long as the snapshot.
    [[nodiscard]] const Device* speaker() const;
    /// The default source, unless it repeats a speaker: servers fall back onto that when the last microphone goes.
    [[nodiscard]] const Device* microphone() const;
    [[nodiscard]] bool hasSource(const std::string& uid) const;
};

} // namespace tavrin
