#pragma once

#include "ui/Theme.h"
#include "ui/meeting/TranscriptLines.h"

#include <QHash>
#include <QList>
#include <QRectF>
#include <QTextLayout>
#include <memory>
#include <optional>
#include <span>
#include <vector>

class QPainter;

namespace tavrin {

/// Where the lines of a transcript stand on a page of a given width.
///
/// Heights of groups that were never near the view are estimates; a group is laid out when it is asked for, and what is
/// below it moves then. All lengths are logical pixels from the page's top; the left edge is 0.
/// Thread: the windows' thread. Theme and lines outlive it.
class TranscriptLayout final {
public:
    static constexpr int edgeWidth = 3;
    /// Text and captions stand this far from the group's edge.
    static constexpr int textIndent = 16;
    static constexpr int groupGap = 16;
    static constexpr double leastZoom = 0.8;
    static constexpr double mostZoom = 2;

    struct Box {
        double top = 0;
        double height = 0; // with the gap below
        bool measured = false;
    };
    /// What is marked in the text while it is painted.
    struct Marks {
        std::optional<TextRange> selection;
        std::span<const TextRange> matches; // sorted
        std::optional<TextRange> current;   // one of the matches
        std::optional<TextRange> link;      // a word that can be clicked
        int slidesFrom = -1;                // lines from here on are still on their way
        double slide = 0;                   // how far below their place they are
        double opacity = 1;                 // and how much of them is seen
    };

    TranscriptLayout(const Theme& theme, const TranscriptLines& lines);

    /// The lines are other ones.
    void update(const TranscriptLines::Change& change);
    /// The page's width changed, or the type. Forgets all measures.
    void setWidth(int width);
    /// Multiplies the transcript's type over the theme's. Takes effect with the next setWidth.
    void setZoom(double factor) { zoom = factor; }

    [[nodiscard]] const std::vector<Box>& boxes() const { return allBoxes; }
    [[nodiscard]] double height() const;
    [[nodiscard]] int groupAt(double y) const;
    [[nodiscard]] int lineHeight() const;
    [[nodiscard]] QFont font(TextStyle style) const;

    /// Lays a group out, and gives by how much it grew over what was assumed.
    double measure(int group);
    /// Forgets the text layouts, not the measures, of groups outside of the given ones.
    void keepOnly(int firstGroup, int lastGroup);

    /// The top of a line, measured or not.
    [[nodiscard]] double topOf(int line);
    [[nodiscard]] int rowCount(int line);
    /// The place in the text nearest to a point.
    [[nodiscard]] TextPlace placeAt(QPointF point);
    /// The character that stands under a point, if one does.
    [[nodiscard]] std::optional<TextPlace> characterAt(QPointF point);
    /// Where a part of one line stands: a rectangle per row.
    [[nodiscard]] QList<QRectF> rowsOf(const TextRange& range);
    [[nodiscard]] QRectF captionOf(int group) const;

    /// Paints a group with its edge at `left` and its top at `top`.
    void paint(QPainter& painter, int group, double left, double top, const Marks& marks);

private:
    struct Laid {
        std::vector<std::unique_ptr<QTextLayout>> texts;
        std::vector<double> tops; // from the group's top
    };
    struct Hit {
        int line = 0;
        const QTextLayout* text = nullptr;
        int row = 0; // before 0, or behind the last one
    };
    [[nodiscard]] int scaled(int pixels) const;
    [[nodiscard]] int captionHeight() const;
    [[nodiscard]] double estimate(const TranscriptLines::Group& group) const;
    [[nodiscard]] std::unique_ptr<QTextLayout> laidLine(int line, double& height) const;
    [[nodiscard]] Hit hitAt(QPointF point);
    void settleFrom(int group);
    const Laid& laid(int group);
    void paintCaption(QPainter& painter, const TranscriptLines::Group& group, QPointF at) const;
    void paintLine(QPainter& painter, int line, const QTextLayout& text, QPointF at, const Marks& marks);
    [[nodiscard]] QList<QTextLayout::FormatRange> formatsOf(int line, const Marks& marks) const;

    const Theme& theme;
    const TranscriptLines& lines;
    int textWidth = 40;
    double zoom = 1;
    std::vector<Box> allBoxes; // one a group
    QHash<int, std::shared_ptr<Laid>> layouts;
};

} // namespace tavrin
