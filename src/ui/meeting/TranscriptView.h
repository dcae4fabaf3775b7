#pragma once

#include "ui/meeting/TranscriptLayout.h"

#include <QAbstractScrollArea>
#include <QBasicTimer>

namespace tavrin {

/// The transcript, as it grows. Lines that come at the end show themselves only to whoever reads there; otherwise what
/// is read stays where it is, whatever changes above or below. Text is selected by mouse and copied by Ctrl+C.
///
/// Only what is seen is laid out and painted: thousands of lines cost no more than a screenful.
class TranscriptView final : public QAbstractScrollArea {
    Q_OBJECT

public:
    explicit TranscriptView(const Theme& theme, QWidget* parent = nullptr);

    void setLines(const std::vector<TranscriptSegment>& lines);
    /// A grey line below the last one; empty for none.
    void setInterim(const QString& text);

    [[nodiscard]] bool standsAtEnd() const;
    [[nodiscard]] const TranscriptLayout& transcript() const { return lines; }
    /// The line at the top of what is seen, and how far its top is above the view's (negative: below it).
    struct Reading {
        SegmentId line = 0;
        double above = 0;
    };
    [[nodiscard]] std::optional<Reading> reading();
    [[nodiscard]] QString selectedText() const;
    void selectAll();
    void copy() const;
    /// The latest few lines, for assistive technology.
    [[nodiscard]] QString latestText() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    void keep(const std::optional<Reading>& place, bool atEnd);
    void fit();
    void measureVisible();
    void relayout();
    void extendSelection(QPoint at);
    [[nodiscard]] std::optional<TranscriptLayout::Selection> selection() const;
    [[nodiscard]] QPointF onPage(QPoint at) const;
    [[nodiscard]] double interimHeight() const;
    [[nodiscard]] double pageHeight() const;

    const Theme& theme;
    TranscriptLayout lines;
    QString interim;
    std::optional<TextPlace> anchor;
    TextPlace caret;
    QPoint dragAt;
    QBasicTimer dragTimer;
    bool fitting = false;
};

} // namespace tavrin
