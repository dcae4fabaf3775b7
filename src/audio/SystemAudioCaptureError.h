#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tavrin {

/// System audio that cannot be captured, with the user's text.
class SystemAudioCaptureError final : public std::runtime_error {
public:
    enum class Reason : std::uint8_t {
        tapCreationFailed,
        defaultOutputUnavailable,
        deviceUIDUnavailable,
        aggregateDeviceCreationFailed,
        ioProcCreationFailed,
        deviceStartFailed,
        tapFormatUnavailable,
        converterUnavailable,
        permissionDenied
    };

    /// `status` is the system's number for the reason; the last three reasons have none.
    explicit SystemAudioCaptureError(Reason why, int status = 0) : std::runtime_error(text(why, status)), reason(why) {}

    const Reason reason;

private:
    static std::string text(Reason why, int status) {
        const std::string number = " (status " + std::to_string(status) + ").";
        switch (why) {
        case Reason::tapCreationFailed:
            return "Could not create the system-audio tap" + number;
        case Reason::defaultOutputUnavailable:
            return "Could not read the default output device" + number;
        case Reason::deviceUIDUnavailable:
            return "Could not read the output device UID" + number;
        case Reason::aggregateDeviceCreationFailed:
            return "Could not create the aggregate capture device" + number;
        case Reason::ioProcCreationFailed:
            return "Could not create the system-audio IO callback" + number;
        case Reason::deviceStartFailed:
            return "Could not start the system-audio device" + number;
        case Reason::tapFormatUnavailable:
            return "Could not read the system-audio tap format.";
        case Reason::converterUnavailable:
            return "Could not create an audio converter for system audio.";
        case Reason::permissionDenied:
            return "Allow “Tavrin Assistant” under System Settings → Privacy & Security → Screen & System Audio "
                   "Recording, then quit and reopen the app.";
        }
        return {};
    }
};

} // namespace tavrin
