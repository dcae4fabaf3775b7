#pragma once

#include "meeting/TranscriptSegment.h"
#include "ui/Tokens.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <deque>
#include <vector>

namespace tavrin {

/// A place in the transcript's text: a line, and a character of it.
struct TextPlace {
    int line = 0;
    int character = 0;

    auto operator<=>(const TextPlace&) const = default;
};

/// What stands between two places.
struct TextRange {
    TextPlace from;
    TextPlace to;

    bool operator==(const TextRange&) const = default;
    [[nodiscard]] bool holds(TextPlace place) const { return from <= place && place <= to; }
};

/// The lines of a transcript as they are shown, in groups under one caption, for any number of views.
///
/// As a text it is one string: a caption stands on a line of its own above its group, and every line ends with a line
/// end but the last. Offsets count UTF-16 units of that string, which is never built as a whole.
/// A change costs what comes after the first line that differs.
/// Thread: the windows' thread.
class TranscriptLines final : public QObject {
    Q_OBJECT

public:
    struct Line {
        TranscriptSegment segment;
        QString text;
        int start = 0; // offset of its text
    };
    struct Group {
        int firstLine = 0;
        int lines = 0;
        QString name;
        QString time;
        Token color = Token::accent;

        [[nodiscard]] QString caption() const { return name + QLatin1Char(' ') + time; }
    };
    struct Change {
        int firstLine = 0;  // lines from here on are other ones
        int firstGroup = 0; // groups from here on are
        int linesBefore = 0;
        bool onlyAdds = false; // nothing that was there has changed
        QString removed;       // the text that went, where assistive technology listens
    };

    using QObject::QObject;

    /// Takes the lines over. Tells nobody where nothing differs.
    void setLines(const std::vector<TranscriptSegment>& segments);

    [[nodiscard]] const std::deque<Line>& all() const { return allLines; }
    [[nodiscard]] bool empty() const { return allLines.empty(); }
    [[nodiscard]] int count() const { return int(allLines.size()); }
    [[nodiscard]] const Line& at(int line) const { return allLines[std::size_t(line)]; }
    [[nodiscard]] const std::vector<Group>& groups() const { return allGroups; }
    [[nodiscard]] int groupOf(int line) const;
    /// The line that a segment is shown as; -1 for none. Looks from the end.
    [[nodiscard]] int lineOf(SegmentId id) const;

    /// Length of the text as a whole.
    [[nodiscard]] int length() const;
    /// The part between two offsets, which may lie anywhere.
    [[nodiscard]] QString text(int from, int to) const;
    [[nodiscard]] int offsetOf(TextPlace place) const;
    /// The place at an offset; what stands in a caption is taken for the beginning of its first line.
    [[nodiscard]] TextPlace placeAt(int offset) const;
    /// The line whose text, caption or line end an offset stands in; -1 where there are no lines.
    [[nodiscard]] int lineAt(int offset) const;
    /// The offset at which a line begins, its caption included where it has one.
    [[nodiscard]] int beginOf(int line) const;
    /// The offset at which what stands before a line ends, without the line end between them.
    [[nodiscard]] int endBefore(int line) const { return line == 0 ? 0 : beginOf(line) - 1; }

    /// What a user copies: with captions where it spans more than one group.
    [[nodiscard]] QString copyOf(const TextRange& range) const;

signals:
    /// The lines are about to change.
    void changing();
    void changed(const TranscriptLines::Change& change);

private:
    /// Ends the groups before `line`; true where the last one lost lines.
    bool cutGroups(int line);
    /// True where the line joined the last group.
    bool append(const TranscriptSegment& segment);
    [[nodiscard]] Token colorOf(const TranscriptSegment& segment);

    std::deque<Line> allLines;
    std::vector<Group> allGroups;
    QHash<QString, int> speakers; // further speakers, in order of appearance
};

} // namespace tavrin
