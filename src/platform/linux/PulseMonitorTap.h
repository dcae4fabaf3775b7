#pragma once

#include "platform/SystemAudioTap.h"
#include "platform/linux/PulseRecordStream.h"
#include "platform/linux/PulseServer.h"

#include <functional>
#include <memory>
#include <string>

namespace tavrin {

/// Records what the default speaker plays, our own sound with it: where streams cannot be told apart. Muting the
/// speaker may mute the recording.
///
/// It follows the default and opens again after a failure, a restart of the server or 2.5 seconds without sound.
/// Thread: one at a time. The receiver is called on the server's loop.
class PulseMonitorTap final : public PulseServer::Client {
public:
    /// `server` outlives it.
    explicit PulseMonitorTap(PulseServer& server);
    ~PulseMonitorTap() override;

    /// Throws SystemAudioTapError within 2.5 seconds, with nothing left open.
    AudioFormat start(SystemAudioTap::Callback receiver);
    void stop();
    /// Which monitor it records, or the last one.
    [[nodiscard]] std::string source() const;

private:
    void check() override;
    void open(const PulseSnapshot::Device& speaker);
    [[nodiscard]] bool isGood(const PulseSnapshot::Device& speaker) const;

    PulseServer& server;
    // guarded by the server's lock
    SystemAudioTap::Callback receiver;
    bool hasRecorded = false;
    const PulseRecordStream::Receiver pass;
    std::string opened;
    std::unique_ptr<PulseRecordStream> stream;
    bool isRunning = false;
};

} // namespace tavrin
