#include "meeting/MeetingId.h"

#include "support/text/Uuid.h"

namespace tavrin {

std::string newMeetingID() {
    return newUuid();
}

} // namespace tavrin
