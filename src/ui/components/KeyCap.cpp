#include "ui/components/KeyCap.h"

#include "ui/components/Painting.h"

#include <QPainter>
#include <cmath>

namespace tavrin {

namespace {

constexpr int gap = 3;

} // namespace

KeyCap::KeyCap(const Theme& shown, const QStringList& shownKeys, QWidget* parent)
    : QLabel(shownKeys.join(QLatin1Char('+')), parent), theme(shown), keys(shownKeys) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    followTheme(*this, theme);
}

int KeyCap::capWidth(const QString& key) const {
    const double words = QFontMetricsF(theme.font(TextStyle::caption)).horizontalAdvance(key);
    return qMax(theme.scaled(20), int(std::ceil(words)) + 12);
}

QSize KeyCap::sizeHint() const {
    int width = -gap;
    for (const QString& key : keys)
        width += capWidth(key) + gap;
    return {width, theme.scaled(20)};
}

void KeyCap::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setFont(theme.font(TextStyle::caption));
    double left = 0;
    for (const QString& key : keys) {
        const QRectF cap(left, 0, capWidth(key), height());
        fillRounded(painter, cap, 4, theme.color(Token::line2));
        fillRounded(painter, cap.adjusted(1, 1, -1, -2), 3, theme.color(Token::surface));
        painter.setPen(theme.color(Token::text2));
        painter.drawText(cap.adjusted(0, 0, 0, -1), Qt::AlignCenter, key);
        left += cap.width() + gap;
    }
}

} // namespace tavrin
