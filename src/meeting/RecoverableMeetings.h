#pragma once

#include "meeting/TranscriptCheckpoint.h"

namespace tavrin {

class Folder;

/// For so many seconds an unfinished meeting is kept.
inline constexpr double mostRecoverableAge = 172'800;

/// The meetings that an earlier run of the program did not finish: the checkpoints among `support`'s recordings no
/// older than `maximumAge` seconds at `now`, the last written one first. Older meetings are removed, but for the sound
/// of the microphone. What is no checkpoint is left alone and left out.
///
/// At launch, before anything is recorded: leftovers of interrupted writes are removed as well.
/// Thread: any; reads the disk. Errors: none are thrown; what fails is logged.
std::vector<TranscriptCheckpoint> recoverableMeetings(Folder& support, Date now,
                                                      double maximumAge = mostRecoverableAge);

} // namespace tavrin
