#pragma once

#include "meeting/LiveCapture.h"

#include <cstdint>

namespace tavrin {

/// What became of a stretch's live samples.
struct DrainCounts {
    LaneCounts transcribed; ///< with the base, as samples of the archive
    LaneCounts dropped;
    LaneCounts pending;
};

/// Transcribes what the live lanes still hold, one lane after the other, for at most two seconds; ends them; and waits
/// for the chain of Them results, for at most two seconds more. While it flushes `meeting.isDraining` holds.
Task<DrainCounts> drainLanes(EndedLanes lanes, OpenMeeting& meeting, LiveTranscript& transcript);

} // namespace tavrin
