#pragma once

#include "platform/AudioEngine.h"
#include "platform/linux/PulseRecordStream.h"
#include "platform/linux/PulseSnapshot.h"

#include <memory>
#include <optional>

namespace tavrin {

class PulseServer;

/// `AudioEngine` over a PulseServer: one stream on the source that is the default when it starts, by that source's own
/// name. When the default becomes another microphone the engine counts as stopped, and start() takes the new one.
class PulseAudioEngine final : public AudioEngine {
public:
    /// `server` outlives it.
    explicit PulseAudioEngine(PulseServer& server);
    ~PulseAudioEngine() override;

    /// Servers have no suppression that a single stream could ask for: true throws.
    void setVoiceProcessingEnabled(bool enabled) override;
    void prepare() override;
    [[nodiscard]] AudioFormat inputFormat() const override;
    void installTap(std::size_t bufferFrames, Tap tap) override;
    void removeTap() override;
    void start() override;
    void stop() override;
    void reset() override;
    [[nodiscard]] bool isRunning() const override;

private:
    void find();

    PulseServer& server;
    std::optional<PulseSnapshot::Device> microphone;
    std::size_t fragment = 0;
    Tap receiver;             ///< guarded by the server's lock
    bool hasRecorded = false; ///< guarded by the server's lock
    const PulseRecordStream::Receiver pass;
    std::unique_ptr<PulseRecordStream> stream; ///< made and destroyed holding the server's lock
};

} // namespace tavrin
