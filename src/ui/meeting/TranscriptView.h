#pragma once

#include "ui/meeting/TranscriptLayout.h"

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QElapsedTimer>

class QMenu;

namespace tavrin {

class TranscriptSearch;

/// A view of a transcript, as it grows. Lines that come at the end show themselves only to whoever reads there;
/// otherwise what is read stays where it is, whatever changes above or below.
///
/// Text is selected by mouse and copied by Ctrl+C. A word is a link to its correction: a click on it, or Enter where
/// the arrow keys have led, tells `phraseChosen`; a click on selected words tells those. Only what is seen is laid out
/// and painted: thousands of lines cost no more than a screenful. Thread: the windows' thread. Theme and lines outlive
/// it.
class TranscriptView final : public QAbstractScrollArea {
    Q_OBJECT

public:
    TranscriptView(const Theme& theme, TranscriptLines& lines, QWidget* parent = nullptr);

    /// A grey line below the last one; empty for none.
    void setInterim(const QString& text);
    [[nodiscard]] const QString& interimText() const { return interim; }
    /// Multiplies the transcript's type, between 0.8 and 2. What is read stays where it is.
    void setZoom(double factor);
    /// Whose matches are marked; none for nothing. Call searchChanged() when they change.
    void setSearch(const TranscriptSearch* search) { finder = search; }
    /// Marks one match before the others; -1 for none. searchChanged() brings it into sight, too.
    void showMatch(int current);
    void searchChanged(int current);

    [[nodiscard]] bool standsAtEnd() const;
    [[nodiscard]] TranscriptLines& transcript() const { return lines; }
    [[nodiscard]] TranscriptLayout& page() { return layout; }
    /// The line at the top of what is seen, and how far its top is above the view's (negative: below it).
    struct Reading {
        SegmentId line = 0;
        double above = 0;
    };
    [[nodiscard]] std::optional<Reading> reading();
    /// The first place that is seen.
    [[nodiscard]] TextPlace firstSeen();
    [[nodiscard]] QString selectedText() const;
    [[nodiscard]] std::optional<TextRange> selection() const;
    void select(const std::optional<TextRange>& range);
    void selectAll();
    void copy() const;
    void copyAll() const;
    /// The word that the arrow keys have led to, or that was chosen last.
    [[nodiscard]] const std::optional<TextRange>& word() const { return cursor; }
    void moveTo(const std::optional<TextRange>& word);
    /// Scrolls as little as it takes to see a range.
    void reveal(const TextRange& range);

    /// Shows a phrase as a link until another one is.
    void setLinked(const std::optional<TextRange>& range);
    /// Where the linked phrase stands in the viewport; empty where it is out of sight or gone.
    [[nodiscard]] QRect linkedPlace();
    /// What can be corrected: the selected phrase, or the word at the cursor.
    [[nodiscard]] std::optional<TextRange> phrase() const;
    /// Tells it.
    void choosePhrase();

    /// Where the widest line may end, in the viewport.
    [[nodiscard]] int textEnd() const;
    [[nodiscard]] QPointF onPage(QPoint inViewport) const;
    [[nodiscard]] QRectF inViewport(const QRectF& onPage) const;

signals:
    /// The user wants to correct this.
    void phraseChosen(const QString& phrase, const TextRange& place);
    /// What is below the mouse or the word is shown elsewhere now.
    void moved();
    /// The user wants larger (1), smaller (-1) or the usual (0) type.
    void zoomRequested(int direction);
    /// The context menu is about to open: whoever has more to offer adds it.
    void menuRequested(QMenu& menu);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    static constexpr int slideMilliseconds = 140;
    /// A word that stays marked while lines come and go around it.
    struct Kept {
        SegmentId id = 0;
        QString text;
    };
    void rememberPlace();
    void linesChanged(const TranscriptLines::Change& change);
    void followChange(std::optional<TextRange>& range, const std::optional<Kept>& kept) const;
    [[nodiscard]] std::optional<Kept> keptOf(const std::optional<TextRange>& range) const;
    void tellAssistance(const TranscriptLines::Change& change);
    void keep(const std::optional<Reading>& place, bool atEnd);
    void fit();
    void measureVisible();
    void relayout();
    void slideIn(int firstLine);
    void extendSelection(QPoint at);
    void hover(QPoint at);
    [[nodiscard]] std::optional<TextRange> wordUnder(QPoint at);
    [[nodiscard]] TranscriptLayout::Marks marks() const;
    void paintInterim(QPainter& painter, double offset);
    void paintCursor(QPainter& painter);
    bool moveByKey(const QKeyEvent& event);
    [[nodiscard]] std::optional<TextRange> wordAcross(int rows);
    void goTo(const std::optional<TextRange>& word, bool extend);
    void fillMenu(QMenu& menu);
    [[nodiscard]] double interimHeight() const;
    [[nodiscard]] double pageHeight() const;

    const Theme& theme;
    TranscriptLines& lines;
    TranscriptLayout layout;
    const TranscriptSearch* finder = nullptr;
    int currentMatch = -1;
    QString interim;
    std::optional<TextPlace> anchor;
    TextPlace caret;
    std::optional<TextRange> cursor;  // the word of the arrow keys
    std::optional<TextRange> extends; // where an extended selection began
    std::optional<TextRange> hovered;
    std::optional<TextRange> linked;
    std::optional<QPoint> pressedAt; // of a press that may still become a click
    bool pressedSelection = false;
    bool showsCursor = false;
    QPoint dragAt;
    QBasicTimer dragTimer;
    QBasicTimer slideTimer;
    QElapsedTimer slideTime;
    int slidesFrom = -1;
    int wheelTurned = 0;
    int laidHeight = 0; // of a row, when the page was laid out last
    bool fitting = false;
    // what was read before the lines changed
    std::optional<Reading> placeBefore;
    bool endBefore = true;
    std::optional<Kept> cursorBefore;
    std::optional<Kept> linkedBefore;
};

} // namespace tavrin
