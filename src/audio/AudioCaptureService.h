#pragma once

#include "audio/AudioCaptureError.h"
#include "audio/CallbackSlot.h"
#include "platform/AudioEngine.h"
#include "platform/SampleRateConverter.h"
#include "support/async/Executor.h"
#include "support/async/Task.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// Owns the microphone: opens it, turns what it gives into PCM, mends it when the device changes or stops.
///
/// Threads: operations on the main executor. Sound goes from the engine's thread, which only posts, to
/// `processingQueue`,
///          where conversion and the callbacks run; every call of the engine is made on `engineQueue`, since some
///          block for seconds. A hung device therefore hangs nobody.
/// Watch:   once a second a stopped engine is started again, else rebuilt, else given up: `onCaptureLost`, once a
/// start. Lifetime: dependencies outlive it; its last clean-up may run after it on the queues.
class AudioCaptureService final {
public:
    struct Dependencies {
        Executor& main;
        Executor& processingQueue;
        Executor& engineQueue;
        AudioEngineFactory newEngine;
        SampleRateConverterFactory newConverter;
        /// Writes a line into the meeting's diagnostics; from any thread. May be empty.
        std::function<void(std::string)> note;
    };

    static constexpr Duration startLimit = std::chrono::seconds(12);
    static constexpr Duration watchInterval = std::chrono::seconds(1);
    static constexpr std::size_t tapFrames = 2'048;

    explicit AudioCaptureService(Dependencies dependencies);
    AudioCaptureService(const AudioCaptureService&) = delete;
    AudioCaptureService& operator=(const AudioCaptureService&) = delete;
    ~AudioCaptureService();

    /// Opens the microphone, what ran before is torn down first; callbacks stay. Throws AudioCaptureError; what the
    /// engine said is in the log. Nothing of it stays open after a throw. A start whose caller was cancelled goes on
    /// until stop().
    Task<void> start(bool voiceProcessing);

    /// Begins to close and clears the callbacks; returns at once. A start that follows waits its turn.
    void stop();

    /// From the next buffer on the sound lies on a time line that begins at `origin`; absent: pieces just follow.
    void setOrigin(std::optional<SteadyInstant> origin);

    /// Keeps all sound from now on, until stop() or stopAccumulating(), which hands it over, to the last sample: signed
    /// 16-bit little-endian samples.
    void startAccumulating();
    Task<std::vector<std::byte>> stopAccumulating();

    /// A chunk of 100 to 250 ms, on `processingQueue`.
    CallbackSlot<std::span<const std::byte>>& onPCMChunk();
    /// Peak 0 to 1 of each converted buffer, on `processingQueue`.
    CallbackSlot<float>& onAudioLevel();
    /// The engine could not be brought back; on the main executor, at most once a start.
    void onCaptureLost(std::function<void()> handler);

private:
    class State;

    Dependencies use;
    std::shared_ptr<State> state; // shared with the work on the queues
    // main executor
    bool isOpen = false;
    std::uint64_t opens = 0; // counts starts and stops
};

} // namespace tavrin
