#pragma once

#include "meeting/TranscriptSegment.h"
#include "ui/meeting/MeetingState.h"

#include <vector>

namespace tavrin::shots {

/// A conversation at a table of shops, in the order in which it was said.
std::vector<TranscriptSegment> conversation();
/// One in German, whose words are longer.
std::vector<TranscriptSegment> germanConversation();

/// A longer one, in which a name was misheard.
std::vector<TranscriptSegment> springReview();

MeetingState idle();
MeetingState loading();
MeetingState recording();
MeetingState paused();
MeetingState processing();
MeetingState microphoneOnly();
MeetingState failed();
MeetingState restored();
MeetingState german();
/// A meeting that has ended.
MeetingState finished();

} // namespace tavrin::shots
