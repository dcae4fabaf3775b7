#pragma once

#include "meeting/ActiveTime.h"
#include "meeting/TranscriptPersistence.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {

/// A stretch of capture between two pauses: archive time has the pauses cut out, lines have the time of day.
struct CaptureStretch {
    std::int64_t firstSample = 0; // of the archive
    Date start;

    bool operator==(const CaptureStretch&) const = default;
};

/// Samples of each lane that are transcribed, counted from the beginning of its archive.
struct LaneCounts {
    std::int64_t me = 0;
    std::int64_t them = 0;
};

/// What belongs to the meeting that is open, shared by the session's collaborators. Thread: main executor only.
struct OpenMeeting {
    std::optional<std::string> meetingID;
    /// Absent when the recordings folder could not be made; the meeting then runs without.
    std::shared_ptr<TranscriptPersistence> persistence;
    std::optional<Date> sessionRecordedAt;
    ActiveTime activeTime;
    std::vector<CaptureStretch> stretches;
    /// When capture last ended.
    LaneCounts transcribed;
    /// Counts up whenever transcript work is abandoned: results of earlier work are dropped.
    std::uint64_t transcriptWorkGeneration = 0;
    /// While what was captured is being drained its results still count.
    bool isDraining = false;
    /// The stretch that is being drained had both lanes.
    bool hadSystemAudio = false;
};

} // namespace tavrin
