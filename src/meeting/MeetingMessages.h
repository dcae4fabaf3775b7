#pragma once

#include <cmath>
#include <string>
#include <string_view>

/// What a meeting says to the user.
namespace tavrin::messages {

inline constexpr std::string_view tokenMissing = "Tavrin API token not set. Open Settings (⌘,) to add your token.";
inline constexpr std::string_view microphoneDenied =
    "Microphone access denied. Grant access in System Settings → Privacy & Security → Microphone.";

inline constexpr std::string_view microphoneOnly =
    "Recording your microphone only — the other participant isn’t being captured. ";
inline constexpr std::string_view allowSystemAudio =
    "Allow “Tavrin Assistant” under System Settings → Privacy & Security → Screen & System Audio Recording, then quit "
    "and reopen the app.";
inline constexpr std::string_view microphoneQuiet =
    "Microphone is very quiet while recording — check System Settings → Sound → Input (device and mute). System audio "
    "is still being captured.";
inline constexpr std::string_view microphoneLost =
    "The microphone is gone. Recording goes on with the next one that is there.";
inline constexpr std::string_view cannotSave =
    "This recording can’t be saved right now: the disk is full or not writable. Up to a minute is kept in memory and "
    "saved as soon as there is room.";

inline std::string soundLost(double seconds) {
    return "The disk took nothing for too long: " + std::to_string(std::lround(std::ceil(seconds))) +
           " s of sound are missing from this recording.";
}
inline constexpr std::string_view noArchive =
    "This meeting’s sound can’t be saved: its folder can’t be made. The live transcript goes on.";

inline constexpr std::string_view loadingFirst =
    "Recording now — loading speech model for accuracy (audio is already being saved)…";
inline constexpr std::string_view loadingStatus = "Recording — loading speech model…";
inline std::string loadingAfter(long seconds) {
    return "Recording now — loading speech model… (" + std::to_string(seconds) + "s)";
}
inline std::string loadingStatusAfter(long seconds) {
    return "Recording — loading speech model… (" + std::to_string(seconds) + "s)";
}

inline constexpr std::string_view transcribing = "Transcribing…";
inline constexpr std::string_view finishingTranscription = "Finishing transcription…";
inline constexpr std::string_view finishingTranscript = "Finishing transcript…";
inline constexpr std::string_view timedOut = "Transcription timed out — showing what we have.";

inline constexpr std::string_view finishingActivity = "Finishing meeting transcription";

} // namespace tavrin::messages
