#pragma once

#include "meeting/TranscriptSegment.h"
#include "ui/Theme.h"

#include <QHash>
#include <QTextLayout>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

class QPainter;

namespace tavrin {

/// A place in the transcript's text: a line, and a character of it.
struct TextPlace {
    int line = 0;
    int character = 0;

    auto operator<=>(const TextPlace&) const = default;
};

/// The lines of a transcript as groups under one caption, with their places on a page of a given width.
///
/// Consecutive lines of a speaker are one group. Heights of groups that were never near the view are estimates; a group
/// is laid out when it is asked for, and its neighbours move then. All lengths are logical pixels from the page's top.
/// Thread: the windows' thread. The theme outlives it.
class TranscriptLayout final {
public:
    /// A name above a group stands this far from the group's edge, as does its text.
    static constexpr int edgeWidth = 3;
    static constexpr int textIndent = 16;
    static constexpr int groupGap = 16;

    struct Line {
        TranscriptSegment segment;
        QString text;
    };
    struct Group {
        int firstLine = 0;
        int lines = 0;
        QString name;
        QString time;
        Token color = Token::accent;
        double top = 0;
        double height = 0; // with the gap below
        bool measured = false;
    };

    explicit TranscriptLayout(const Theme& theme);

    /// Takes the lines over. What they have in common with the present ones from the start keeps its layout; gives the
    /// index of the first line that differs.
    int setLines(const std::vector<TranscriptSegment>& segments);
    /// The page's width changed, or the type. Forgets all measures.
    void setWidth(int width);

    [[nodiscard]] const std::deque<Line>& lines() const { return allLines; }
    [[nodiscard]] const std::vector<Group>& groups() const { return allGroups; }
    [[nodiscard]] double height() const;
    [[nodiscard]] int groupAt(double y) const;
    [[nodiscard]] int groupOf(int line) const;

    /// Lays a group out, and gives by how much it grew over what was assumed.
    double measure(int group);
    /// Forgets the text layouts, not the measures, of groups outside of the given ones.
    void keepOnly(int firstGroup, int lastGroup);

    /// The top of a line, measured or not.
    [[nodiscard]] double topOf(int line);
    /// The place in the text nearest to a point.
    [[nodiscard]] TextPlace placeAt(QPointF point);

    struct Selection {
        TextPlace from;
        TextPlace to;
    };
    /// Paints a group with its edge at `left` and its top at `top`.
    void paint(QPainter& painter, int group, double left, double top, const std::optional<Selection>& selection);

    /// The selected text. With captions where it spans more than one group.
    [[nodiscard]] QString textOf(const Selection& selection) const;

private:
    struct Laid {
        std::vector<std::unique_ptr<QTextLayout>> texts;
        std::vector<double> tops; // from the group's top
    };
    [[nodiscard]] int captionHeight() const;
    [[nodiscard]] double estimate(const Group& group) const;
    [[nodiscard]] Token colorOf(const TranscriptSegment& segment);
    void regroupFrom(int line);
    void appendToGroups(int line);
    void settleFrom(int group);
    const Laid& laid(int group);

    const Theme& theme;
    int textWidth = 0;
    std::deque<Line> allLines;
    std::vector<Group> allGroups;
    QHash<QString, int> speakers; // further speakers, in order of appearance
    QHash<int, std::shared_ptr<Laid>> layouts;
};

} // namespace tavrin
