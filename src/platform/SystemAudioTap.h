#pragma once

#include "platform/AudioBuffer.h"
#include "platform/AudioDevices.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavrin {

/// Which step of opening the tap failed, with the system's number for the reason.
class SystemAudioTapError : public std::runtime_error {
public:
    enum class Step : std::uint8_t { tap, defaultOutput, deviceUid, device, callback, start, format };

    SystemAudioTapError(Step failed, int systemStatus, const std::string& reason)
        : std::runtime_error(reason), step(failed), status(systemStatus) {}

    Step step;
    int status;
};

/// Records everything that the computer plays, where it can without our own sound.
///
/// A running tap mends itself: after a change of the default output, a restart or a hang of the sound server, sound
/// comes again with the first buffer marked as following a gap. While nothing plays it may give silence or nothing.
/// Thread: one at a time; start() and stop() may block, never for more than five seconds. The callback runs on a thread
///         of the tap's, which it must not hold up.
class SystemAudioTap {
public:
    using Callback = std::move_only_function<void(const AudioBuffer&)>;

    virtual ~SystemAudioTap() = default;

    /// Whether what plays can be captured at all. Quick, from what the server last told.
    [[nodiscard]] virtual bool isAvailable() const = 0;
    [[nodiscard]] virtual std::vector<AudioDevice> outputs() const = 0;
    /// Throws SystemAudioTapError.
    [[nodiscard]] virtual AudioDevice defaultOutput() const = 0;
    /// How the tap gets at the sound, for the log: "links of all playback streams", "monitor of <uid>".
    [[nodiscard]] virtual std::string method() const = 0;

    /// Whether our own sound is left out, as it runs now; also for the log.
    [[nodiscard]] virtual bool excludesOwnSound() const = 0;

    /// Opens the tap; buffers come until stop(). Gives the format of the first ones. Throws SystemAudioTapError.
    virtual AudioFormat start(Callback callback) = 0;
    /// When it returns the callback does not run and will not run again.
    virtual void stop() = 0;
};

} // namespace tavrin
