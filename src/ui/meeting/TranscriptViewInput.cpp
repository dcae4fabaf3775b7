// What mouse and keyboard do in a transcript.

#include "ui/components/FocusRing.h"
#include "ui/meeting/TranscriptView.h"
#include "ui/meeting/TranscriptWords.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <algorithm>

namespace tavrin {

namespace {

constexpr int dragMilliseconds = 40;
constexpr int wheelStep = 120;

} // namespace

// ---- keyboard -------------------------------------------------------------------------------------------------------

void TranscriptView::keyPressEvent(QKeyEvent* event) {
    QScrollBar& bar = *verticalScrollBar();
    if (event->matches(QKeySequence::Copy)) return copy();
    if (event->matches(QKeySequence::SelectAll)) return selectAll();
    if (moveByKey(*event)) return;
    switch (event->key()) {
    case Qt::Key_Home:
        return bar.setValue(0);
    case Qt::Key_End:
        return bar.setValue(bar.maximum());
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return choosePhrase();
    case Qt::Key_Escape:
        if (!cursor && !selection()) break;
        select(std::nullopt);
        return moveTo(std::nullopt);
    default:
        break;
    }
    QAbstractScrollArea::keyPressEvent(event);
}

// The arrow keys lead from word to word, with or without Ctrl; with Shift they select.
bool TranscriptView::moveByKey(const QKeyEvent& event) {
    const bool isArrow = event.key() >= Qt::Key_Left && event.key() <= Qt::Key_Down;
    if (!isArrow || event.modifiers().testAnyFlags(Qt::AltModifier | Qt::MetaModifier)) return false;
    const bool extend = event.modifiers().testFlag(Qt::ShiftModifier);
    if (!cursor) {
        goTo(wordFrom(lines, firstSeen()), extend);
        return true;
    }
    switch (event.key()) {
    case Qt::Key_Left:
        goTo(wordBefore(lines, cursor->from), extend);
        break;
    case Qt::Key_Right:
        goTo(wordFrom(lines, cursor->to), extend);
        break;
    case Qt::Key_Up:
        goTo(wordAcross(-1), extend);
        break;
    default:
        goTo(wordAcross(1), extend);
        break;
    }
    return true;
}

void TranscriptView::goTo(const std::optional<TextRange>& word, bool extend) {
    if (!word) return;
    if (extend) {
        const auto from = extends ? extends : cursor ? cursor : word;
        select(TextRange{std::min(from->from, word->from), std::max(from->to, word->to)});
        extends = from;
    } else {
        select(std::nullopt);
    }
    moveTo(word);
}

/// The nearest word in another row of text, above or below; captions lie between.
std::optional<TextRange> TranscriptView::wordAcross(int direction) {
    const auto rows = layout.rowsOf(*cursor);
    if (rows.isEmpty()) return std::nullopt;
    const QPointF from = (direction < 0 ? rows.front() : rows.back()).center();
    constexpr int furthest = 8;
    for (int i = 1; i <= furthest; ++i) {
        const double y = from.y() + direction * i * layout.lineHeight();
        const TextPlace place = layout.placeAt({from.x(), y});
        auto word = wordAt(lines, place);
        if (!word) word = wordBefore(lines, place);
        if (!word || word->from.line != place.line) word = wordFrom(lines, {.line = place.line});
        if (!word) return std::nullopt;
        const auto there = layout.rowsOf(*word);
        const bool isBeyond = !there.isEmpty() && (there.front().center().y() - from.y()) * direction > 1;
        if (isBeyond) return word;
    }
    return std::nullopt;
}

void TranscriptView::focusInEvent(QFocusEvent* event) {
    if (!showsCursor && event->reason() != Qt::MouseFocusReason) setFocusRadius(*this, -1);
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void TranscriptView::focusOutEvent(QFocusEvent* event) {
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

// ---- mouse ----------------------------------------------------------------------------------------------------------

std::optional<TextRange> TranscriptView::wordUnder(QPoint at) {
    const auto place = layout.characterAt(onPage(at));
    return place ? wordAt(lines, *place) : std::nullopt;
}

void TranscriptView::hover(QPoint at) {
    const auto word = wordUnder(at);
    if (word == hovered) return;
    hovered = word;
    viewport()->setCursor(word ? Qt::PointingHandCursor : Qt::IBeamCursor);
    viewport()->update();
}

bool TranscriptView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Leave && hovered) {
        hovered.reset();
        viewport()->update();
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void TranscriptView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    const TextPlace place = lines.empty() ? TextPlace{} : layout.placeAt(onPage(event->pos()));
    const bool extend = anchor && event->modifiers().testFlag(Qt::ShiftModifier);
    const auto selected = selection();
    pressedSelection = selected && selected->holds(place) && layout.characterAt(onPage(event->pos()));
    // A click that ends a selection does nothing else.
    const bool mayClick = !extend && (!selected || pressedSelection);
    pressedAt = mayClick ? std::optional(event->pos()) : std::nullopt;
    cursor.reset();
    showsCursor = false;
    clearFocusRadius(*this);                 // whoever uses the mouse needs no ring
    if (pressedSelection && !extend) return; // a drag begins a new one, a click means this one
    caret = place;
    if (!extend) anchor = place;
    viewport()->update();
}

void TranscriptView::extendSelection(QPoint at) {
    caret = layout.placeAt(onPage(at));
    viewport()->update();
}

void TranscriptView::mouseMoveEvent(QMouseEvent* event) {
    if (!event->buttons().testFlag(Qt::LeftButton)) return hover(event->pos());
    if (!anchor) return;
    if (pressedAt) {
        if ((event->pos() - *pressedAt).manhattanLength() < QApplication::startDragDistance()) return;
        if (pressedSelection) anchor = layout.placeAt(onPage(*pressedAt));
        pressedAt.reset();
        hovered.reset();
    }
    dragAt = event->pos();
    extendSelection(dragAt);
    if (viewport()->rect().contains(dragAt))
        dragTimer.stop();
    else if (!dragTimer.isActive())
        dragTimer.start(dragMilliseconds, this);
}

void TranscriptView::mouseReleaseEvent(QMouseEvent* event) {
    dragTimer.stop();
    const bool clicked = event->button() == Qt::LeftButton && pressedAt.has_value();
    pressedAt.reset();
    if (!clicked) return;
    const auto word = wordUnder(event->pos());
    if (!pressedSelection && !word) return;
    cursor = word;
    showsCursor = false;
    choosePhrase();
}

void TranscriptView::mouseDoubleClickEvent(QMouseEvent* event) {
    pressedAt.reset();
    if (lines.empty()) return;
    if (const auto word = wordAt(lines, layout.placeAt(onPage(event->pos())))) select(word);
}

void TranscriptView::wheelEvent(QWheelEvent* event) {
    if (!event->modifiers().testFlag(Qt::ControlModifier)) return QAbstractScrollArea::wheelEvent(event);
    event->accept();
    wheelTurned += event->angleDelta().y();
    for (; std::abs(wheelTurned) >= wheelStep; wheelTurned -= wheelTurned > 0 ? wheelStep : -wheelStep)
        emit zoomRequested(wheelTurned > 0 ? 1 : -1);
}

void TranscriptView::timerEvent(QTimerEvent* event) {
    if (event->timerId() == slideTimer.timerId()) {
        viewport()->update();
        if (slideTime.elapsed() < slideMilliseconds) return;
        slideTimer.stop();
        slidesFrom = -1;
        return;
    }
    if (event->timerId() != dragTimer.timerId()) return QAbstractScrollArea::timerEvent(event);
    const int past = dragAt.y() < 0 ? dragAt.y() : dragAt.y() - viewport()->height();
    verticalScrollBar()->setValue(verticalScrollBar()->value() + qBound(-60, past, 60));
    extendSelection(dragAt);
}

void TranscriptView::contextMenuEvent(QContextMenuEvent* event) {
    QPoint at = event->globalPos();
    if (event->reason() == QContextMenuEvent::Keyboard) {
        if (!cursor) goTo(wordFrom(lines, firstSeen()), false);
        const auto rows = cursor ? layout.rowsOf(*cursor) : QList<QRectF>();
        if (!rows.isEmpty()) at = viewport()->mapToGlobal(inViewport(rows.back()).bottomLeft().toPoint());
    } else if (const auto selected = selection();
               !selected || !selected->holds(layout.placeAt(onPage(viewport()->mapFromGlobal(at))))) {
        select(std::nullopt);
        cursor = wordUnder(viewport()->mapFromGlobal(at));
        showsCursor = false;
    }
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillMenu(*menu);
    menu->popup(at);
}

void TranscriptView::fillMenu(QMenu& menu) {
    const auto selected = selection();
    QAction* fix = menu.addAction(tr("Fix a misheard phrase…"), this, &TranscriptView::choosePhrase);
    fix->setEnabled(phrase().has_value());
    menu.addSeparator();
    menu.addAction(tr("Copy"), this, &TranscriptView::copy)->setEnabled(selected.has_value());
    menu.addAction(tr("Copy transcript"), this, &TranscriptView::copyAll)->setEnabled(!lines.empty());
    menu.addAction(tr("Select all"), this, &TranscriptView::selectAll)->setEnabled(!lines.empty());
    emit menuRequested(menu);
}

} // namespace tavrin
