#pragma once

#include <cstdint>
#include <stdexcept>

namespace tavrin {

/// A microphone that did not start, with the user's text.
class AudioCaptureError final : public std::runtime_error {
public:
    enum class Reason : std::uint8_t {
        converterUnavailable,
        inputFormatUnavailable,
        startTimedOut,
        noSoundServer,
        openingFailed
    };

    explicit AudioCaptureError(Reason why) : std::runtime_error(text(why)), reason(why) {}

    const Reason reason;

private:
    static const char* text(Reason why) {
        switch (why) {
        case Reason::converterUnavailable:
            return "Could not create an audio converter for microphone input.";
        case Reason::inputFormatUnavailable:
            return "The microphone input format is unavailable. Try changing your input device in System Settings, or "
                   "disconnect Bluetooth headphones.";
        case Reason::startTimedOut:
            return "The microphone did not start in time. Quit apps using the mic and try again.";
        case Reason::noSoundServer:
            return "No sound server answers. Start PipeWire or PulseAudio and try again.";
        case Reason::openingFailed:
            return "The microphone could not be opened. Check the input in your sound settings and try again.";
        }
        return "";
    }
};

} // namespace tavrin
