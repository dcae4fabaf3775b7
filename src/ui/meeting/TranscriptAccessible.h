#pragma once

namespace tavrin {

/// Lets assistive technology read transcript views: documents whose whole text can be asked for, with captions, caret
/// and selection. Answers cost what is asked for, however long the transcript is. Call it as often as you like; it
/// works once.
void installTranscriptAccessibility();

} // namespace tavrin
