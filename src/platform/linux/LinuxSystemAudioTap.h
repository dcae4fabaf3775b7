#pragma once

#include "platform/SystemAudioTap.h"
#include "platform/linux/PipeWireTap.h"
#include "platform/linux/PulseAudioDevices.h"
#include "platform/linux/PulseMonitorTap.h"

#include <cstdint>

namespace tavrin {

/// `SystemAudioTap` by the best way that the sound server offers: links of all playback streams where all sound runs
/// through PipeWire, else the monitor of the default speaker.
class LinuxSystemAudioTap final : public SystemAudioTap {
public:
    enum class Way : std::uint8_t { best, monitor };

    /// `server` outlives it.
    explicit LinuxSystemAudioTap(PulseServer& server, Way way = Way::best);

    [[nodiscard]] bool isAvailable() const override;
    [[nodiscard]] std::vector<AudioDevice> outputs() const override;
    [[nodiscard]] AudioDevice defaultOutput() const override;
    [[nodiscard]] std::string method() const override;
    [[nodiscard]] bool excludesOwnSound() const override { return hasLinks; }
    AudioFormat start(Callback callback) override;
    void stop() override;

private:
    PulseServer& server;
    Way way;
    PulseAudioDevices devices;
    PulseMonitorTap monitor;
    PipeWireTap links;
    bool hasLinks = false;
};

} // namespace tavrin
