#include "ui/components/Line.h"

#include <QPainter>

namespace tavrin {

Line::Line(const Theme& shown, QWidget* parent) : QWidget(parent), theme(shown) {
    setFixedHeight(1);
    followTheme(*this, theme);
}

void Line::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme.color(Token::line));
}

} // namespace tavrin
