#pragma once

#include "support/time/Time.h"

#include <optional>
#include <string>

namespace tavrin {

enum class MeetingPhase { idle, loading, recording, processing, paused, error };

/// What the meeting page shows, but for the transcript's lines and the levels. A plain value; all texts are UTF-8 and
/// stand as the program words them: the page turns them into this desktop's words.
struct MeetingState {
    MeetingPhase phase = MeetingPhase::idle;
    std::string statusText; // "Idle", "Recording", ...
    std::string errorText;  // the reason, in phase error

    std::string title;
    bool titleEditable = true;
    std::string dateLine;          // "Thursday 12 March 2026 · started 10:02"
    std::optional<Date> startedAt; // absent: taken for the moment of the first line
    double elapsedSeconds = 0;     // active time until now; the page counts on while the phase is loading or recording

    bool startEnabled = true;
    bool stopEnabled = true;

    std::string interimLine;
    std::string statusMessage;
    std::optional<std::string> notice; // a warning that can be dismissed
    double backlogSeconds = 0;
    bool restored = false; // the lines come from a meeting that was interrupted

    std::string microphoneName; // empty: not known
    std::string speakerName;

    bool operator==(const MeetingState&) const = default;
};

/// Whether sound is being recorded.
constexpr bool isCapturing(MeetingPhase phase) {
    return phase == MeetingPhase::loading || phase == MeetingPhase::recording;
}

/// Whether a meeting is open: it can be stopped.
constexpr bool isOpen(MeetingPhase phase) {
    return isCapturing(phase) || phase == MeetingPhase::processing || phase == MeetingPhase::paused;
}

} // namespace tavrin
