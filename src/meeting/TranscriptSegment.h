#pragma once

#include "support/time/Time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavrin {

inline constexpr std::string_view meLabel = "Me";
inline constexpr std::string_view themLabel = "Them";

/// A speaker's index among those of a lane.
using SpeakerIndex = std::int64_t;

/// Names one line of a transcript for as long as the program runs.
using SegmentId = std::uint64_t;

/// A line of the transcript in the form in which it crosses into files, history and uploads.
struct MeetingSegmentDraft {
    std::string speakerLabel; // "Me", "Them" or a speaker's name
    std::string text;
    Date date; // sort key and time label
    std::optional<SpeakerIndex> themSpeakerIndex;
    std::optional<SpeakerIndex> meSpeakerIndex;

    bool operator==(const MeetingSegmentDraft&) const = default;
};

/// A line of the transcript on screen.
struct TranscriptSegment : MeetingSegmentDraft {
    SegmentId id = 0;

    bool operator==(const TranscriptSegment&) const = default;
};

/// Whether a line is the user's, or of those in the room with the user.
inline bool isMeLine(const MeetingSegmentDraft& line) {
    if (line.themSpeakerIndex) return false;
    const std::string_view label = line.speakerLabel;
    return line.meSpeakerIndex || label == meLabel || label.starts_with("Me ");
}

} // namespace tavrin
