#include "ui/meeting/TranscriptView.h"

#include "ui/components/FocusRing.h"
#include "ui/components/Painting.h"
#include "ui/meeting/TranscriptAccessible.h"
#include "ui/meeting/TranscriptSearch.h"
#include "ui/meeting/TranscriptWords.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>
#include <cmath>

namespace tavrin {

namespace {

constexpr int paddingTop = 16;
constexpr int paddingSide = 32;
constexpr int paddingBottom = 12;
constexpr int widestText = 680;
constexpr int endSlack = 4;
constexpr double slideFrom = 8;
constexpr int mostSliding = 5; // more lines at once are a transcript that was opened

} // namespace

TranscriptView::TranscriptView(const Theme& shown, TranscriptLines& transcript, QWidget* parent)
    : QAbstractScrollArea(parent), theme(shown), lines(transcript), layout(shown, transcript) {
    installTranscriptAccessibility(); // before the first change that assistive technology is told of
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAccessibleName(tr("Transcript"));
    setFocusRadius(*this, -1);
    viewport()->setCursor(Qt::IBeamCursor);
    viewport()->setAutoFillBackground(false);
    viewport()->setMouseTracking(true);
    verticalScrollBar()->setFocusPolicy(Qt::NoFocus);
    connect(&theme, &Theme::changed, this, &TranscriptView::relayout);
    connect(&lines, &TranscriptLines::changing, this, &TranscriptView::rememberPlace);
    connect(&lines, &TranscriptLines::changed, this, &TranscriptView::linesChanged);
    layout.update({});
    relayout();
}

// ---- what is read, and what changes around it ----------------------------------------------------------------------

bool TranscriptView::standsAtEnd() const {
    return verticalScrollBar()->value() >= verticalScrollBar()->maximum() - endSlack;
}

std::optional<TranscriptView::Reading> TranscriptView::reading() {
    if (lines.empty()) return std::nullopt;
    const double top = verticalScrollBar()->value() - paddingTop;
    const auto& group = lines.groups()[std::size_t(layout.groupAt(top))];
    int line = group.firstLine;
    for (int i = 1; i < group.lines && layout.topOf(group.firstLine + i) <= top; ++i)
        line = group.firstLine + i;
    return Reading{lines.at(line).segment.id, top - layout.topOf(line)};
}

TextPlace TranscriptView::firstSeen() {
    return layout.placeAt(onPage({paddingSide, layout.lineHeight()}));
}

void TranscriptView::rememberPlace() {
    endBefore = standsAtEnd();
    placeBefore = reading();
    cursorBefore = keptOf(cursor);
    linkedBefore = keptOf(linked);
}

std::optional<TranscriptView::Kept> TranscriptView::keptOf(const std::optional<TextRange>& range) const {
    if (!range || range->from.line >= lines.count()) return std::nullopt;
    const auto& line = lines.at(range->from.line);
    return Kept{line.segment.id, line.text};
}

void TranscriptView::linesChanged(const TranscriptLines::Change& change) {
    layout.update(change);
    if (anchor && std::max(anchor->line, caret.line) >= change.firstLine) {
        anchor.reset();
        extends.reset();
    }
    hovered.reset();
    followChange(cursor, cursorBefore);
    followChange(linked, linkedBefore);
    keep(placeBefore, endBefore);
    if (endBefore && change.onlyAdds) slideIn(change.firstLine);
    tellAssistance(change);
    emit moved();
}

// A word that is still there keeps its mark, wherever its line is now.
void TranscriptView::followChange(std::optional<TextRange>& range, const std::optional<Kept>& kept) const {
    if (!range) return;
    const int line = kept ? lines.lineOf(kept->id) : -1;
    if (line < 0 || lines.at(line).text != kept->text) return range.reset();
    range->from.line = range->to.line = line;
}

void TranscriptView::tellAssistance(const TranscriptLines::Change& change) {
    if (!QAccessible::isActive()) return;
    const int begin = lines.endBefore(change.firstLine);
    if (!change.removed.isEmpty()) {
        QAccessibleTextRemoveEvent removed(this, begin, change.removed);
        QAccessible::updateAccessibility(&removed);
    }
    const QString added = lines.text(begin, lines.length());
    if (added.isEmpty()) return;
    QAccessibleTextInsertEvent inserted(this, begin, added);
    QAccessible::updateAccessibility(&inserted);
}

void TranscriptView::setInterim(const QString& text) {
    if (interim == text) return;
    const bool atEnd = standsAtEnd();
    const auto place = reading();
    interim = text;
    keep(place, atEnd);
}

void TranscriptView::keep(const std::optional<Reading>& place, bool atEnd) {
    fit();
    if (atEnd) {
        // Measuring the last groups may move the end: twice is enough, as they are all measured then.
        for (int i = 0; i < 3 && !standsAtEnd(); ++i) {
            verticalScrollBar()->setValue(verticalScrollBar()->maximum());
            fit();
        }
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    } else if (place) {
        const int line = lines.lineOf(place->line);
        if (line >= 0) verticalScrollBar()->setValue(qRound(layout.topOf(line) + place->above + paddingTop));
    }
    fit();
    viewport()->update();
}

void TranscriptView::slideIn(int firstLine) {
    const int added = lines.count() - firstLine;
    if (!theme.moves() || !isVisible() || added <= 0 || added > mostSliding) return;
    slidesFrom = firstLine;
    slideTime.start();
    slideTimer.start(1000 / 60, this);
}

void TranscriptView::relayout() {
    const bool atEnd = standsAtEnd();
    auto place = reading();
    const int line = place ? lines.lineOf(place->line) : -1;
    const double oldHeight = line >= 0 ? double(layout.rowCount(line)) * laidHeight : 0;
    laidHeight = layout.lineHeight();
    layout.setWidth(qMin(widestText, viewport()->width() - 2 * paddingSide));
    // A line that is partly above the view stays so by the same part of itself.
    if (place && place->above > 0 && oldHeight > 0)
        place->above = qMin(1.0, place->above / oldHeight) * layout.rowCount(line) * laidHeight;
    verticalScrollBar()->setSingleStep(layout.lineHeight());
    keep(place, atEnd);
    emit moved();
}

void TranscriptView::setZoom(double factor) {
    layout.setZoom(std::clamp(factor, TranscriptLayout::leastZoom, TranscriptLayout::mostZoom));
    relayout();
}

void TranscriptView::resizeEvent(QResizeEvent* /*event*/) {
    relayout();
}

double TranscriptView::interimHeight() const {
    return interim.isEmpty() ? 0 : layout.lineHeight();
}

double TranscriptView::pageHeight() const {
    const double below = interim.isEmpty() ? -TranscriptLayout::groupGap : interimHeight();
    return paddingTop + layout.height() + below + paddingBottom;
}

void TranscriptView::fit() {
    if (fitting) return;
    fitting = true;
    measureVisible();
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setRange(0, qMax(0, int(std::ceil(pageHeight())) - viewport()->height()));
    fitting = false;
}

// Groups become exact as they come into sight. One that begins above the view grows upwards, so that what is read
// stays where it is.
void TranscriptView::measureVisible() {
    const auto& boxes = layout.boxes();
    if (boxes.empty()) return;
    QScrollBar& bar = *verticalScrollBar();
    const int first = layout.groupAt(bar.value() - paddingTop);
    int group = first;
    for (; group < int(boxes.size()); ++group) {
        const double boxTop = boxes[std::size_t(group)].top;
        const double top = bar.value() - paddingTop;
        if (boxTop > top + viewport()->height()) break;
        const double grown = layout.measure(group);
        if (grown == 0 || boxTop >= top || standsAtEnd()) continue;
        if (grown > 0) bar.setMaximum(bar.maximum() + int(std::ceil(grown)));
        bar.setValue(bar.value() + qRound(grown));
    }
    layout.keepOnly(first - 8, group + 8);
}

void TranscriptView::scrollContentsBy(int /*dx*/, int /*dy*/) {
    fit();
    viewport()->update();
    if (!fitting) emit moved();
}

void TranscriptView::reveal(const TextRange& range) {
    if (range.from.line >= lines.count()) return;
    QScrollBar& bar = *verticalScrollBar();
    // What comes into sight on the way is measured and may push the range out again.
    for (int i = 0; i < 4; ++i) {
        fit();
        const auto rows = layout.rowsOf(range);
        if (rows.isEmpty()) return;
        const QRectF seen = inViewport(rows.front().united(rows.back()));
        const int above = int(seen.top()) - layout.lineHeight();
        const int below = int(std::ceil(seen.bottom())) + paddingBottom - viewport()->height();
        if (above >= 0 && below <= 0) break;
        const bool isFar = above < -viewport()->height() || below > viewport()->height();
        const int by = isFar ? above - viewport()->height() / 3 : above < 0 ? above : below;
        const int before = bar.value();
        bar.setValue(before + by);
        if (bar.value() == before) break;
    }
}

// ---- painting -------------------------------------------------------------------------------------------------------

TranscriptLayout::Marks TranscriptView::marks() const {
    TranscriptLayout::Marks marks{.selection = selection(), .link = linked ? linked : hovered};
    if (finder) marks.matches = finder->matches();
    if (currentMatch >= 0 && currentMatch < int(marks.matches.size()))
        marks.current = marks.matches[std::size_t(currentMatch)];
    if (slidesFrom >= 0) {
        const double left = 1 - std::min(1.0, double(slideTime.elapsed()) / slideMilliseconds);
        marks.slidesFrom = slidesFrom;
        marks.slide = slideFrom * left * left;
        marks.opacity = 1 - left * left;
    }
    return marks;
}

void TranscriptView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(viewport());
    const double offset = paddingTop - verticalScrollBar()->value();
    const auto& boxes = layout.boxes();
    const auto shown = marks();
    for (int i = boxes.empty() ? 0 : layout.groupAt(-offset); i < int(boxes.size()); ++i) {
        const double top = boxes[std::size_t(i)].top + offset;
        if (top > viewport()->height()) break;
        layout.paint(painter, i, paddingSide, top, shown);
    }
    if (showsCursor && hasFocus()) paintCursor(painter);
    if (!interim.isEmpty()) paintInterim(painter, offset);
}

void TranscriptView::paintCursor(QPainter& painter) {
    if (!cursor || cursor->from.line >= lines.count()) return;
    for (const QRectF& row : layout.rowsOf(*cursor))
        strokeRounded(painter, inViewport(row).adjusted(-4, -2, 4, 2), 4, theme.color(Token::accent), 2);
}

void TranscriptView::paintInterim(QPainter& painter, double offset) {
    const QRectF line(paddingSide, layout.height() + offset, qMin(widestText, viewport()->width() - 2 * paddingSide),
                      interimHeight());
    fillRounded(painter, {line.left(), line.top(), TranscriptLayout::edgeWidth, line.height()}, 1.5,
                theme.color(Token::line2));
    const QFont font = layout.font(TextStyle::paragraph);
    painter.setFont(font);
    painter.setPen(theme.color(Token::text2));
    const double room = line.width() - TranscriptLayout::textIndent;
    painter.drawText(QPointF(line.left() + TranscriptLayout::textIndent, centredBaseline(font, line)),
                     QFontMetricsF(font).elidedText(interim, Qt::ElideRight, room));
}

int TranscriptView::textEnd() const {
    return paddingSide + qMin(widestText, viewport()->width() - 2 * paddingSide);
}

QPointF TranscriptView::onPage(QPoint at) const {
    return {double(at.x() - paddingSide), double(at.y() + verticalScrollBar()->value() - paddingTop)};
}

QRectF TranscriptView::inViewport(const QRectF& onPage) const {
    return onPage.translated(paddingSide, paddingTop - verticalScrollBar()->value());
}

// ---- selection, words, matches --------------------------------------------------------------------------------------

std::optional<TextRange> TranscriptView::selection() const {
    if (!anchor || *anchor == caret) return std::nullopt;
    return TextRange{qMin(*anchor, caret), qMax(*anchor, caret)};
}

QString TranscriptView::selectedText() const {
    const auto selected = selection();
    return selected ? lines.copyOf(*selected) : QString();
}

void TranscriptView::select(const std::optional<TextRange>& range) {
    anchor = range ? std::optional(range->from) : std::nullopt;
    if (range) caret = range->to;
    extends.reset();
    viewport()->update();
    if (!QAccessible::isActive()) return;
    QAccessibleTextSelectionEvent event(this, range ? lines.offsetOf(range->from) : 0,
                                        range ? lines.offsetOf(range->to) : 0);
    QAccessible::updateAccessibility(&event);
}

void TranscriptView::selectAll() {
    if (lines.empty()) return;
    const int last = lines.count() - 1;
    select(TextRange{{}, {last, int(lines.at(last).text.size())}});
}

void TranscriptView::copy() const {
    if (selection()) QApplication::clipboard()->setText(selectedText());
}

void TranscriptView::copyAll() const {
    if (lines.empty()) return;
    const int last = lines.count() - 1;
    const TextRange all{{}, {last, int(lines.at(last).text.size())}};
    QApplication::clipboard()->setText(lines.copyOf(all));
}

void TranscriptView::moveTo(const std::optional<TextRange>& word) {
    cursor = word;
    showsCursor = word.has_value();
    if (showsCursor)
        clearFocusRadius(*this); // the ring is around the word now
    else
        setFocusRadius(*this, -1);
    viewport()->update();
    if (!word) return;
    reveal(*word);
    if (!QAccessible::isActive()) return;
    QAccessibleTextCursorEvent event(this, lines.offsetOf(word->from));
    QAccessible::updateAccessibility(&event);
}

void TranscriptView::setLinked(const std::optional<TextRange>& range) {
    linked = range;
    viewport()->update();
}

QRect TranscriptView::linkedPlace() {
    if (!linked || linked->from.line >= lines.count()) return {};
    const auto rows = layout.rowsOf(*linked);
    if (rows.isEmpty()) return {};
    const QRect place = inViewport(rows.back()).toAlignedRect();
    return viewport()->rect().intersects(place) ? place : QRect();
}

std::optional<TextRange> TranscriptView::phrase() const {
    const auto selected = selection();
    const auto& range = selected ? selected : cursor;
    return range ? phraseIn(lines, *range) : std::nullopt;
}

void TranscriptView::choosePhrase() {
    const auto chosen = phrase();
    if (!chosen) return;
    reveal(*chosen);
    const int from = chosen->from.character;
    emit phraseChosen(lines.at(chosen->from.line).text.mid(from, chosen->to.character - from), *chosen);
}

void TranscriptView::showMatch(int current) {
    currentMatch = current;
    viewport()->update();
}

void TranscriptView::searchChanged(int current) {
    showMatch(current);
    if (finder && current >= 0 && current < int(finder->matches().size()))
        reveal(finder->matches()[std::size_t(current)]);
}

} // namespace tavrin
