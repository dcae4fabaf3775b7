#pragma once

#include "audio/CallbackSlot.h"
#include "audio/SystemAudioCaptureError.h"
#include "platform/SampleRateConverter.h"
#include "platform/SystemAudioTap.h"
#include "support/async/Executor.h"
#include "support/async/Task.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace tavrin {

/// Records what the computer plays, in the same form as the microphone.
///
/// Threads: operations on the main executor; the tap is opened and closed on `tapQueue`, where it may block; its
/// buffers
///          are converted and handed on, on `ioQueue`.
/// Silence: means that nobody talks or nothing plays. It is reported after ten seconds, and nothing is restarted.
/// Lifetime: dependencies outlive it and what it has posted: stop it and wait for the queues before they go.
class SystemAudioCaptureService final {
public:
    struct Dependencies {
        Executor& main;
        Executor& tapQueue;
        Executor& ioQueue;
        SystemAudioTap& tap;
        SampleRateConverterFactory newConverter;
        /// Writes a line into the meeting's diagnostics; from any thread. May be empty.
        std::function<void(std::string)> note;
    };

    static constexpr Duration startLimit = std::chrono::seconds(12);
    static constexpr Duration ioLogInterval = std::chrono::seconds(2);
    static constexpr int silentWindowsToReport = 5;

    explicit SystemAudioCaptureService(Dependencies dependencies);
    SystemAudioCaptureService(const SystemAudioCaptureService&) = delete;
    SystemAudioCaptureService& operator=(const SystemAudioCaptureService&) = delete;
    ~SystemAudioCaptureService();

    /// Opens the tap, what ran before is closed first; callbacks stay. Throws SystemAudioCaptureError, and then nothing
    /// stays open. A start whose caller was cancelled goes on until stop().
    Task<void> start();

    /// Begins to close and clears the callbacks; returns at once. A start that follows waits its turn.
    void stop();

    /// From the next buffer on the sound lies on a time line that begins at `origin`; absent: pieces just follow.
    void setOrigin(std::optional<SteadyInstant> origin);

    /// As those of the microphone, on `ioQueue`.
    CallbackSlot<std::span<const std::byte>>& onPCMChunk();
    CallbackSlot<float>& onAudioLevel();

private:
    class State;

    Dependencies use;
    std::shared_ptr<State> state; // shared with the work on the queues
    // main executor
    bool isOpen = false;
    std::uint64_t opens = 0; // counts starts and stops
};

} // namespace tavrin
