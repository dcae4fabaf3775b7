#pragma once

#include <string>

namespace tavrin {

/// A fresh name for a meeting: a random UUID in upper case. Any thread.
std::string newMeetingID();

} // namespace tavrin
