#pragma once

#include "ui/meeting/TranscriptLines.h"

#include <optional>

namespace tavrin {

// The words of a transcript: what stands between word boundaries and holds a letter or a digit. Pure; any thread that
// may read the lines.

/// The word that holds the character at a place.
std::optional<TextRange> wordAt(const TranscriptLines& lines, TextPlace place);
/// The first word that begins at a place or behind it, in this line or a later one.
std::optional<TextRange> wordFrom(const TranscriptLines& lines, TextPlace place);
/// The last word that ends at a place or before it, in this line or an earlier one.
std::optional<TextRange> wordBefore(const TranscriptLines& lines, TextPlace place);

/// A range without the blanks and marks at its ends, if it lies in one line, is short enough for a phrase that was
/// misheard, and holds no comma, which would part it into two.
std::optional<TextRange> phraseIn(const TranscriptLines& lines, const TextRange& range);

} // namespace tavrin
