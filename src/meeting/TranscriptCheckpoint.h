#pragma once

#include "meeting/TranscriptSegment.h"
#include "support/json/Json.h"

#include <map>
#include <span>
#include <vector>

namespace tavrin {

/// A line of a transcript as it is kept on disk.
using PersistedTranscriptSegment = MeetingSegmentDraft;

/// What is kept of a meeting besides its sound, written whole once a minute. A plain value.
struct TranscriptCheckpoint {
    std::string meetingID;
    Date startedAt;
    double durationSeconds = 0; // recorded, without pauses
    std::string title;
    std::vector<PersistedTranscriptSegment> segments;
    /// Samples of each lane's file that are in the segments.
    std::optional<std::int64_t> meTranscribedSamples;
    std::optional<std::int64_t> themTranscribedSamples;
    std::map<SpeakerIndex, std::string> themSpeakerCustomNames;
    Date updatedAt; // when it was written

    bool operator==(const TranscriptCheckpoint&) const = default;

    /// One JSON object, compact.
    [[nodiscard]] std::string json() const;
    /// Absent if the text is no checkpoint. Negative numbers of samples and names of what is no index are left out.
    static std::optional<TranscriptCheckpoint> parse(std::string_view json);
};

/// Whether `id` can be part of a file name: letters, digits and hyphens, up to 64.
bool isPlainMeetingID(std::string_view id);

/// A log of segments: one object per line, each line ended by a line feed.
std::string segmentsLog(std::span<const PersistedTranscriptSegment> segments);
/// Lines that are no segment, such as one that a crash cut, are left out.
std::vector<PersistedTranscriptSegment> parseSegmentsLog(std::string_view log);

} // namespace tavrin
