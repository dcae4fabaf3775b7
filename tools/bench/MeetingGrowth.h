#pragma once

#include <filesystem>

namespace tavrin {

class Report;

/// An hour of a meeting on virtual time, into files below `folder` and onto the meeting page: memory after 10 minutes
/// and at the end. Sound and what the engine says are by script; conversion, archive, chunking, session, disk and page
/// are the program's. Takes a minute or so. Needs a QApplication.
void measureMeetingGrowth(const std::filesystem::path& folder, Report& report);

} // namespace tavrin
