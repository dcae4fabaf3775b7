#include "ui/components/Badge.h"

#include "ui/components/Painting.h"

#include <QPainter>
#include <cmath>

namespace tavrin {

namespace {

constexpr int padding = 6;
constexpr int iconSize = 12;
constexpr int gap = 4;

struct Colors {
    Token ground;
    Token ink;
};

Colors colorsOf(Badge::Kind kind) {
    switch (kind) {
    case Badge::Kind::good:
        return {Token::accentTint, Token::accentText};
    case Badge::Kind::warning:
        return {Token::warnTint, Token::warnText};
    case Badge::Kind::error:
        return {Token::recTint, Token::recText};
    case Badge::Kind::them:
        return {Token::themTint, Token::them};
    case Badge::Kind::plain:
        break;
    }
    return {Token::badge, Token::text2};
}

} // namespace

Badge::Badge(const Theme& shown, Kind ofKind, const QString& text, const QString& icon, QWidget* parent)
    : QLabel(text, parent), theme(shown), kind(ofKind), iconName(icon) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    followTheme(*this, theme);
}

void Badge::show(Kind ofKind, const QString& text, const QString& icon) {
    kind = ofKind;
    iconName = icon;
    setText(text);
    updateGeometry();
    update();
}

QSize Badge::sizeHint() const {
    const QFontMetricsF metrics(theme.font(TextStyle::captionMedium));
    const int picture = iconName.isEmpty() ? 0 : theme.scaled(iconSize) + gap;
    return {int(std::ceil(metrics.horizontalAdvance(text()))) + picture + 2 * padding, theme.scaled(20)};
}

void Badge::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const Colors shown = colorsOf(kind);
    fillRounded(painter, rect(), 4, theme.color(shown.ground));
    double left = padding;
    if (!iconName.isEmpty()) {
        const double side = theme.scaled(iconSize);
        theme.drawIcon(painter, iconName, {left, (height() - side) / 2, side, side}, theme.color(shown.ink));
        left += side + gap;
    }
    painter.setFont(theme.font(TextStyle::captionMedium));
    painter.setPen(theme.color(shown.ink));
    painter.drawText(QPointF(left, centredBaseline(painter.font(), rect())), text());
}

} // namespace tavrin
