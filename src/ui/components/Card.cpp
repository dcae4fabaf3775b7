#include "ui/components/Card.h"

#include "ui/components/Painting.h"

#include <QPainter>
#include <QVBoxLayout>

namespace tavrin {

Card::Card(const Theme& shown, QWidget* parent) : QFrame(parent), theme(shown), layout(new QVBoxLayout(this)) {
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    followTheme(*this, theme);
}

void Card::setSunken(bool wanted) {
    sunken = wanted;
    update();
}

void Card::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    if (sunken) return fillRounded(painter, rect(), 8, theme.color(Token::sunken));
    fillRounded(painter, rect(), 10, theme.color(Token::surface));
    strokeRounded(painter, rect(), 10, theme.color(Token::line), 1);
}

} // namespace tavrin
