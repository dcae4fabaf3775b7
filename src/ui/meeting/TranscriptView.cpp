#include "ui/meeting/TranscriptView.h"

#include "ui/components/FocusRing.h"
#include "ui/components/Painting.h"
#include "ui/meeting/TranscriptAccessible.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTextBoundaryFinder>
#include <cmath>

namespace tavrin {

namespace {

constexpr int paddingTop = 16;
constexpr int paddingSide = 32;
constexpr int paddingBottom = 12;
constexpr int widestText = 680;
constexpr int endSlack = 4;
constexpr int dragMilliseconds = 40;

} // namespace

TranscriptView::TranscriptView(const Theme& shown, QWidget* parent)
    : QAbstractScrollArea(parent), theme(shown), lines(shown) {
    installTranscriptAccessibility(); // before the first change that assistive technology is told of
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAccessibleName(tr("Transcript"));
    setFocusRadius(*this, -1);
    viewport()->setCursor(Qt::IBeamCursor);
    viewport()->setAutoFillBackground(false);
    verticalScrollBar()->setSingleStep(theme.lineHeight(TextStyle::paragraph));
    verticalScrollBar()->setFocusPolicy(Qt::NoFocus);
    connect(&theme, &Theme::changed, this, &TranscriptView::relayout);
}

bool TranscriptView::standsAtEnd() const {
    return verticalScrollBar()->value() >= verticalScrollBar()->maximum() - endSlack;
}

std::optional<TranscriptView::Reading> TranscriptView::reading() {
    if (lines.groups().empty()) return std::nullopt;
    const double top = verticalScrollBar()->value() - paddingTop;
    const auto& group = lines.groups()[std::size_t(lines.groupAt(top))];
    int line = group.firstLine;
    for (int i = 1; i < group.lines && lines.topOf(group.firstLine + i) <= top; ++i)
        line = group.firstLine + i;
    return Reading{lines.lines()[std::size_t(line)].segment.id, top - lines.topOf(line)};
}

void TranscriptView::setLines(const std::vector<TranscriptSegment>& segments) {
    const bool atEnd = standsAtEnd();
    const auto place = reading();
    const int firstChanged = lines.setLines(segments);
    const bool selectionMoved = anchor && std::max(anchor->line, caret.line) >= firstChanged;
    if (selectionMoved) anchor.reset();
    keep(place, atEnd);
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
        const auto& all = lines.lines();
        const auto line = std::ranges::find(all, place->line, [](const auto& each) { return each.segment.id; });
        if (line != all.end())
            verticalScrollBar()->setValue(qRound(lines.topOf(int(line - all.begin())) + place->above + paddingTop));
    }
    fit();
    viewport()->update();
}

void TranscriptView::relayout() {
    const bool atEnd = standsAtEnd();
    const auto place = reading();
    lines.setWidth(qMin(widestText, viewport()->width() - 2 * paddingSide));
    verticalScrollBar()->setSingleStep(theme.lineHeight(TextStyle::paragraph));
    keep(place, atEnd);
}

void TranscriptView::resizeEvent(QResizeEvent* /*event*/) {
    relayout();
}

double TranscriptView::interimHeight() const {
    return interim.isEmpty() ? 0 : theme.lineHeight(TextStyle::paragraph);
}

double TranscriptView::pageHeight() const {
    const double below = interim.isEmpty() ? -TranscriptLayout::groupGap : interimHeight();
    return paddingTop + lines.height() + below + paddingBottom;
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
    if (lines.groups().empty()) return;
    QScrollBar& bar = *verticalScrollBar();
    const int first = lines.groupAt(bar.value() - paddingTop);
    int group = first;
    for (; group < int(lines.groups().size()); ++group) {
        const auto& each = lines.groups()[std::size_t(group)];
        const double top = bar.value() - paddingTop;
        if (each.top > top + viewport()->height()) break;
        const bool above = each.top < top;
        const double grown = lines.measure(group);
        if (grown == 0 || !above || standsAtEnd()) continue;
        if (grown > 0) bar.setMaximum(bar.maximum() + int(std::ceil(grown)));
        bar.setValue(bar.value() + qRound(grown));
    }
    lines.keepOnly(first - 8, group + 8);
}

void TranscriptView::scrollContentsBy(int /*dx*/, int /*dy*/) {
    fit();
    viewport()->update();
}

void TranscriptView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(viewport());
    const double offset = paddingTop - verticalScrollBar()->value();
    const auto& groups = lines.groups();
    const auto selected = selection();
    for (int i = groups.empty() ? 0 : lines.groupAt(-offset); i < int(groups.size()); ++i) {
        const double top = groups[std::size_t(i)].top + offset;
        if (top > viewport()->height()) break;
        lines.paint(painter, i, paddingSide, top, selected);
    }
    if (interim.isEmpty()) return;
    const QRectF line(paddingSide, lines.height() + offset, qMin(widestText, viewport()->width() - 2 * paddingSide),
                      interimHeight());
    fillRounded(painter, {line.left(), line.top(), TranscriptLayout::edgeWidth, line.height()}, 1.5,
                theme.color(Token::line2));
    const QFont font = theme.font(TextStyle::paragraph);
    painter.setFont(font);
    painter.setPen(theme.color(Token::text2));
    const double room = line.width() - TranscriptLayout::textIndent;
    painter.drawText(QPointF(line.left() + TranscriptLayout::textIndent, centredBaseline(font, line)),
                     QFontMetricsF(font).elidedText(interim, Qt::ElideRight, room));
}

std::optional<TranscriptLayout::Selection> TranscriptView::selection() const {
    if (!anchor || *anchor == caret) return std::nullopt;
    return TranscriptLayout::Selection{qMin(*anchor, caret), qMax(*anchor, caret)};
}

QString TranscriptView::selectedText() const {
    const auto selected = selection();
    return selected ? lines.textOf(*selected) : QString();
}

void TranscriptView::selectAll() {
    if (lines.lines().empty()) return;
    anchor = TextPlace{};
    caret = {int(lines.lines().size()) - 1, int(lines.lines().back().text.size())};
    viewport()->update();
}

void TranscriptView::copy() const {
    if (selection()) QApplication::clipboard()->setText(selectedText());
}

QString TranscriptView::latestText() const {
    constexpr std::size_t latest = 5;
    const auto& all = lines.lines();
    QStringList parts;
    for (std::size_t i = all.size() > latest ? all.size() - latest : 0; i < all.size(); ++i)
        parts.append(QString::fromStdString(all[i].segment.speakerLabel) + QStringLiteral(": ") + all[i].text);
    if (!interim.isEmpty()) parts.append(interim);
    return parts.join(QLatin1Char('\n'));
}

QPointF TranscriptView::onPage(QPoint at) const {
    return {double(at.x() - paddingSide), double(at.y() + verticalScrollBar()->value() - paddingTop)};
}

void TranscriptView::keyPressEvent(QKeyEvent* event) {
    QScrollBar& bar = *verticalScrollBar();
    if (event->matches(QKeySequence::Copy))
        copy();
    else if (event->matches(QKeySequence::SelectAll))
        selectAll();
    else if (event->key() == Qt::Key_Home)
        bar.setValue(0);
    else if (event->key() == Qt::Key_End)
        bar.setValue(bar.maximum());
    else
        QAbstractScrollArea::keyPressEvent(event);
}

void TranscriptView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    caret = lines.placeAt(onPage(event->pos()));
    if (!anchor || !event->modifiers().testFlag(Qt::ShiftModifier)) anchor = caret;
    viewport()->update();
}

void TranscriptView::extendSelection(QPoint at) {
    caret = lines.placeAt(onPage(at));
    viewport()->update();
}

void TranscriptView::mouseMoveEvent(QMouseEvent* event) {
    if (!event->buttons().testFlag(Qt::LeftButton) || !anchor) return;
    dragAt = event->pos();
    extendSelection(dragAt);
    if (viewport()->rect().contains(dragAt))
        dragTimer.stop();
    else if (!dragTimer.isActive())
        dragTimer.start(dragMilliseconds, this);
}

void TranscriptView::mouseReleaseEvent(QMouseEvent* event) {
    dragTimer.stop();
    QAbstractScrollArea::mouseReleaseEvent(event);
}

void TranscriptView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != dragTimer.timerId()) return QAbstractScrollArea::timerEvent(event);
    const int past = dragAt.y() < 0 ? dragAt.y() : dragAt.y() - viewport()->height();
    verticalScrollBar()->setValue(verticalScrollBar()->value() + qBound(-60, past, 60));
    extendSelection(dragAt);
}

void TranscriptView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (lines.lines().empty()) return;
    const TextPlace place = lines.placeAt(onPage(event->pos()));
    const QString& text = lines.lines()[std::size_t(place.line)].text;
    QTextBoundaryFinder words(QTextBoundaryFinder::Word, text);
    words.setPosition(place.character);
    const qsizetype from = words.isAtBoundary() ? words.position() : words.toPreviousBoundary();
    const qsizetype to = words.toNextBoundary();
    anchor = TextPlace{place.line, int(qMax<qsizetype>(0, from))};
    caret = {place.line, int(to < 0 ? text.size() : to)};
    viewport()->update();
}

void TranscriptView::contextMenuEvent(QContextMenuEvent* event) {
    QMenu menu(this);
    QAction* copying = menu.addAction(tr("Copy"), this, &TranscriptView::copy);
    copying->setEnabled(selection().has_value());
    menu.addAction(tr("Select all"), this, &TranscriptView::selectAll);
    menu.exec(event->globalPos());
}

} // namespace tavrin
