#pragma once

#include "platform/AudioBuffer.h"

#include <functional>
#include <memory>
#include <stdexcept>

namespace tavrin {

/// Why a microphone could not be opened, in words for the log.
class AudioEngineError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// There is nobody to ask for a microphone.
class NoSoundServer final : public AudioEngineError {
public:
    NoSoundServer() : AudioEngineError("no sound server answers") {}
};

/// One way to the default microphone. It never follows the default onto something that plays sound.
///
/// Thread: one at a time; each call may block for seconds, none for more than five. The tap is called on a thread of
///         the engine's, which it must not hold up.
/// Life:   prepare(), installTap(), start(); stop() and start() again at will. Destruction stops it.
class AudioEngine {
public:
    using Tap = std::move_only_function<void(const AudioBuffer&)>;

    virtual ~AudioEngine() = default;

    /// Asks for the system's echo and noise suppression. Throws AudioEngineError where there is none.
    virtual void setVoiceProcessingEnabled(bool enabled) = 0;

    /// Finds the microphone. Throws NoSoundServer.
    virtual void prepare() = 0;
    /// What the microphone gives; rate 0 or no channels when there is none. After prepare().
    [[nodiscard]] virtual AudioFormat inputFormat() const = 0;

    /// Has `tap` called with pieces of about `bufferFrames` frames while the engine runs.
    virtual void installTap(std::size_t bufferFrames, Tap tap) = 0;
    /// When it returns the tap does not run and will not run again.
    virtual void removeTap() = 0;

    /// Begins to record, from the microphone that is the default now. Throws AudioEngineError.
    virtual void start() = 0;
    virtual void stop() = 0;
    /// Forgets what prepare() found.
    virtual void reset() = 0;

    /// Sound arrives. False once the stream was lost, the default microphone is another one, or nothing came for
    /// 2.5 seconds.
    [[nodiscard]] virtual bool isRunning() const = 0;
};

/// Makes an engine that is not yet prepared. Any thread.
using AudioEngineFactory = std::function<std::unique_ptr<AudioEngine>()>;

} // namespace tavrin
