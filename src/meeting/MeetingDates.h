#pragma once

#include "support/time/Time.h"

#include <string>

namespace tavrin {

/// "Thursday 12 March 2026 · started 10:02", in the user's time zone. Any thread.
std::string meetingDateText(Date start);

/// The title of a meeting that was given none: "Meeting 12 March 2026, 10:02".
std::string defaultMeetingTitle(Date start);

} // namespace tavrin
