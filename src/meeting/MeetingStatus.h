#pragma once

#include <cstdint>
#include <string>

namespace tavrin {

/// What the session is doing.
struct MeetingStatus {
    enum class Phase : std::uint8_t {
        idle,         ///< no meeting in progress; a finished transcript may still be on screen
        loadingModel, ///< capture runs or is about to, no live transcription yet
        recording,    ///< capture and live transcription run
        processing,   ///< capture has stopped, the rest is being transcribed
        paused,       ///< capture has stopped, the meeting stays open
        error         ///< a start failed; `message` tells the user why
    };

    Phase phase = Phase::idle;
    std::string message;

    static MeetingStatus error(std::string text) { return {.phase = Phase::error, .message = std::move(text)}; }

    [[nodiscard]] bool isCapturing() const { return phase == Phase::recording || phase == Phase::loadingModel; }

    /// The text of the status line.
    [[nodiscard]] std::string label() const {
        switch (phase) {
        case Phase::idle:
            return "Idle";
        case Phase::loadingModel:
            return "Recording (preparing model)…";
        case Phase::recording:
            return "Recording";
        case Phase::processing:
            return "Finishing transcription…";
        case Phase::paused:
            return "Paused";
        case Phase::error:
            return "Error: " + message;
        }
        return {};
    }

    bool operator==(const MeetingStatus&) const = default;
};

} // namespace tavrin
