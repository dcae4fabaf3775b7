#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {

/// A microphone or a speaker, as the sound server knows it.
struct AudioDevice {
    enum class Transport : std::uint8_t { unknown, builtIn, usb, bluetooth, display };

    std::uint32_t id = 0;
    std::string uid;  // the server's own name, lasting
    std::string name; // for people
    Transport transport = Transport::unknown;

    bool operator==(const AudioDevice&) const = default;
};

/// The microphones and speakers of this computer. What only repeats the sound of a speaker is no microphone.
/// Thread: any. Reads come from what the server last told and never block; without a server there are no devices.
class AudioDevices {
public:
    virtual ~AudioDevices() = default;

    [[nodiscard]] virtual std::vector<AudioDevice> inputs() const = 0;
    [[nodiscard]] virtual std::vector<AudioDevice> outputs() const = 0;
    [[nodiscard]] virtual std::optional<AudioDevice> defaultInput() const = 0;
    [[nodiscard]] virtual std::optional<AudioDevice> defaultOutput() const = 0;

    /// Calls `changed`, on a thread of its own, after each change. One listener; an empty one ends it: none runs any
    /// more when the call returns.
    virtual void onChange(std::function<void()> changed) = 0;
};

} // namespace tavrin
