#pragma once

#include "meeting/TranscriptSegment.h"

#include <span>
#include <string>
#include <string_view>

namespace tavrin {

enum class TranscriptFormat { text, markdown, srt };

/// Whether a line stands under the same caption as the one before it.
bool sharesCaption(const MeetingSegmentDraft& before, const MeetingSegmentDraft& line);

/// "10:05:10" in the user's time zone. A date that is none gives the nearest moment.
std::string transcriptTime(Date date);

/// The name that a file of the transcript gets unless the user gives another: "2026-03-12 Spring launch.md". Always a
/// name that can be used in any folder, whatever the title holds.
std::string transcriptFileName(std::string_view title, Date start, TranscriptFormat format);

/// The transcript as UTF-8 that ends with a line end.
///
/// Text and Markdown: title, date, then each group under its speaker and local time; what Markdown would read as markup
/// is escaped. SRT: a cue per line, named after its speaker, timed from `start`. A cue ends where the next one begins,
/// but not before it can be read, nor long after.
/// Pure; any thread. Lines in their order; broken dates and bytes are repaired, never refused.
std::string exportTranscript(std::string_view title, Date start, std::span<const TranscriptSegment> lines,
                             TranscriptFormat format);

} // namespace tavrin
