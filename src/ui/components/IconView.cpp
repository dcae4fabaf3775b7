#include "ui/components/IconView.h"

#include <QPainter>

namespace tavrin {

IconView::IconView(const Theme& shown, const QString& icon, int ofSize, Token inColor, QWidget* parent)
    : QWidget(parent), theme(shown), iconName(icon), size(ofSize), color(inColor) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    followTheme(*this, theme);
}

void IconView::show(const QString& icon, Token inColor) {
    iconName = icon;
    color = inColor;
    update();
}

QSize IconView::sizeHint() const {
    return {theme.scaled(size), theme.scaled(size)};
}

void IconView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    theme.drawIcon(painter, iconName, rect(), theme.color(color));
}

} // namespace tavrin
