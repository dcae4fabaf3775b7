#pragma once

#include "platform/AudioDevices.h"

#include <atomic>
#include <memory>
#include <thread>

namespace tavrin {

class PulseServer;
struct PulseSnapshot;

/// `AudioDevices` from what a PulseServer was last told.
class PulseAudioDevices final : public AudioDevices {
public:
    /// `server` outlives it.
    explicit PulseAudioDevices(PulseServer& server);
    ~PulseAudioDevices() override;

    [[nodiscard]] std::vector<AudioDevice> inputs() const override;
    [[nodiscard]] std::vector<AudioDevice> outputs() const override;
    [[nodiscard]] std::optional<AudioDevice> defaultInput() const override;
    [[nodiscard]] std::optional<AudioDevice> defaultOutput() const override;
    /// Not from within the listener.
    void onChange(std::function<void()> changed) override;

private:
    void tell(std::shared_ptr<const PulseSnapshot> known, const std::function<void()>& changed);

    PulseServer& server;
    std::atomic<bool> isEnding = false;
    std::thread teller;
};

} // namespace tavrin
