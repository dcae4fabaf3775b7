#pragma once

#include "audio/AudioCaptureService.h"
#include "audio/SystemAudioCaptureService.h"
#include "support/async/TaskScope.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tavrin {

/// What a meeting records: the microphone and the system's sound under one start and stop, on one time line.
///
/// The microphone is required, the tap optional. A microphone that is lost in a running take is opened anew every two
/// seconds until it is back or the take ends; the hole in its lane is filled with silence.
/// Thread:   main executor only (checked). The callbacks run on the lanes' own queues.
/// Lifetime: dependencies outlive it.
class MixedAudioCaptureService final {
public:
    enum class Started : std::uint8_t { both, microphoneOnly, superseded };

    static constexpr Duration remountPause = std::chrono::seconds(2);

    MixedAudioCaptureService(Executor& main, AudioCaptureService& micCapture, SystemAudioCaptureService& systemCapture);
    MixedAudioCaptureService(const MixedAudioCaptureService&) = delete;
    MixedAudioCaptureService& operator=(const MixedAudioCaptureService&) = delete;

    /// Throws what AudioCaptureService::start throws: no microphone, no meeting. `superseded`: stop() or another
    /// start() came meanwhile and has the say. The callbacks are those that are set when sound arrives.
    Task<Started> start();

    /// Ends the take; returns at once. No callback runs any more.
    void stop();

    /// Opens the microphone anew within a take; does nothing while it is lost, as it is looked for then. Throws as
    /// start(): the microphone is lost in that case.
    Task<void> remountMic();

    /// The tap runs in this take.
    [[nodiscard]] bool systemEnabled() const { return isSystemEnabled; }
    /// Why the tap failed in this take.
    [[nodiscard]] const std::optional<std::string>& lastSystemStartError() const { return systemStartError; }
    /// The microphone was lost and is looked for.
    [[nodiscard]] bool isMicrophoneLost() const { return microphoneLost; }

    /// The two lanes and their meters: signed 16-bit samples on the capture queues, peaks 0 to 1.
    CallbackSlot<std::span<const std::byte>> onMicPCMChunk;
    CallbackSlot<std::span<const std::byte>> onSystemPCMChunk;
    CallbackSlot<float> onMicLevel;
    CallbackSlot<float> onSystemLevel;
    /// Told when the microphone is lost in a take, and when it is back.
    std::function<void(bool isLost)> onMicrophoneLost;

private:
    Task<bool> startSystem();
    void forwardLevels();
    Task<void> openMicrophone();
    void armLostHandler();
    void loseMicrophone();
    Task<void> lookForMicrophone();
    void setMicrophoneLost(bool isLost);

    // constant after construction
    Executor& main;
    AudioCaptureService& micCapture;
    SystemAudioCaptureService& systemCapture;

    // state, main executor
    std::uint64_t take = 0; // counts starts and stops
    bool isSystemEnabled = false;
    bool microphoneLost = false;
    std::optional<std::string> systemStartError;
    TaskHandle search; // for a lost microphone
    TaskScope tasks;   // last: dies first
};

} // namespace tavrin
