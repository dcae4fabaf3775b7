#pragma once

#include "ui/meeting/TranscriptLines.h"

#include <QString>
#include <span>
#include <vector>

namespace tavrin {

/// Looks for a text in the lines of a transcript, and keeps what it found up to date while both change.
///
/// Case never counts. Accents count only where what is looked for has some: "muller" finds "Müller", "müller" does not
/// find "Muller". Typographic and plain apostrophes are the same. A match lies in one line.
/// Cost: one pass over the text when the first letter is typed; after that, over the lines that still match.
/// Thread: the windows' thread. The lines outlive it.
class TranscriptSearch final {
public:
    explicit TranscriptSearch(const TranscriptLines& lines);

    /// Empty: nothing is looked for.
    void find(const QString& text);
    /// Lines from this one on are other ones.
    void refresh(int firstLine);

    [[nodiscard]] bool isActive() const { return !needle.text.empty(); }
    [[nodiscard]] std::span<const TextRange> matches() const { return found; }
    /// The first match at a place or behind it, or the first of all; -1 where there is none.
    [[nodiscard]] int matchFrom(TextPlace place) const;

private:
    /// A text as it is compared, and where each of its units comes from.
    struct Folded {
        std::u16string text;
        std::vector<int> origin; // one more than units: the last is the end
    };
    void fold(const QString& text, bool keepAccents, Folded& into) const;
    void searchLine(int line, std::vector<TextRange>& into);

    const TranscriptLines& lines;
    Folded needle;
    bool accentsCount = false;
    std::vector<TextRange> found;
    Folded scratch;
};

} // namespace tavrin
