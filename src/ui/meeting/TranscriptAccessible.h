#pragma once

namespace tavrin {

/// Lets assistive technology read transcript views: a document whose text is its latest lines. Call it as often as you
/// like; it works once.
void installTranscriptAccessibility();

} // namespace tavrin
