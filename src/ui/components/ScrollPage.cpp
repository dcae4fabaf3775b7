#include "ui/components/ScrollPage.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QScrollBar>
#include <QVBoxLayout>

namespace tavrin {

namespace {

constexpr int widest = 880;
constexpr int besides = 32;

} // namespace

ScrollPage::ScrollPage(const Theme& /*theme*/, QWidget* parent)
    : QScrollArea(parent), centred(nullptr), column(new QVBoxLayout) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    auto* page = new QWidget;
    centred = new QHBoxLayout(page);
    auto* narrow = new QWidget;
    narrow->setMaximumWidth(widest);
    narrow->setLayout(column);
    centred->setContentsMargins(besides, 0, besides, 0);
    centred->addStretch(1);
    centred->addWidget(narrow, 1000);
    centred->addStretch(1);
    column->setContentsMargins(0, 24, 0, 32);
    column->setSpacing(16);
    setWidget(page);
    verticalScrollBar()->setFocusPolicy(Qt::NoFocus);
}

void ScrollPage::scrollTo(const QWidget& part) {
    verticalScrollBar()->setValue(part.mapTo(widget(), QPoint(0, 0)).y());
}

void ScrollPage::resizeEvent(QResizeEvent* event) {
    // The scroll bar takes its room from the padding: content stays where it is when the bar comes and goes.
    centred->setContentsMargins(besides, 0, besides - (width() - viewport()->width()), 0);
    QScrollArea::resizeEvent(event);
}

bool ScrollPage::focusNextPrevChild(bool next) {
    const bool moved = QScrollArea::focusNextPrevChild(next);
    if (QWidget* focused = QApplication::focusWidget(); moved && focused && isAncestorOf(focused))
        ensureWidgetVisible(focused, 0, 24);
    return moved;
}

} // namespace tavrin
