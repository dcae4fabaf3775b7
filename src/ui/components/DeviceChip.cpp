#include "ui/components/DeviceChip.h"

#include "ui/components/Painting.h"

#include <QPainter>
#include <cmath>

namespace tavrin {

namespace {

constexpr int padding = 10;
constexpr int gap = 8;
constexpr int glyph = 16;
constexpr int widest = 224;

} // namespace

DeviceChip::DeviceChip(const Theme& shown, const QString& icon, const QString& accessibleName, QWidget* parent)
    : QLabel(parent), theme(shown), iconName(icon) {
    setAccessibleName(accessibleName);
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    followTheme(*this, theme);
}

void DeviceChip::setText(const QString& device) {
    if (device == text()) return;
    QLabel::setText(device);
    setAccessibleDescription(device);
}

QSize DeviceChip::sizeHint() const {
    const double words = QFontMetricsF(theme.font(TextStyle::text)).horizontalAdvance(text());
    const int natural = int(std::ceil(words)) + theme.scaled(glyph) + gap + 2 * padding + 2;
    return {qMin(natural, theme.scaled(widest)), theme.scaled(32)};
}

QSize DeviceChip::minimumSizeHint() const {
    return {theme.scaled(96), theme.scaled(32)};
}

void DeviceChip::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    fillRounded(painter, rect(), 6, theme.color(Token::sunken));
    strokeRounded(painter, rect(), 6, theme.color(Token::line), 1);
    const double side = theme.scaled(glyph);
    theme.drawIcon(painter, iconName, {padding + 1, (height() - side) / 2, side, side}, theme.color(Token::text2));
    const double left = padding + 1 + side + gap;
    painter.setFont(theme.font(TextStyle::text));
    painter.setPen(theme.color(Token::text));
    painter.drawText(QPointF(left, centredBaseline(painter.font(), rect())),
                     QFontMetricsF(painter.font()).elidedText(text(), Qt::ElideRight, width() - padding - left));
}

} // namespace tavrin
