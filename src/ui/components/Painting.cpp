#include "ui/components/Painting.h"

#include <QFontMetricsF>
#include <QMarginsF>
#include <QPainter>
#include <cmath>
#include <numbers>

namespace tavrin {

namespace {

double digitWidth(const QFontMetricsF& metrics) {
    double widest = 0;
    for (char digit = '0'; digit <= '9'; ++digit)
        widest = qMax(widest, metrics.horizontalAdvance(QLatin1Char(digit)));
    return widest;
}

} // namespace

void fillRounded(QPainter& painter, const QRectF& place, double radius, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawRoundedRect(place, radius, radius);
    painter.restore();
}

void strokeRounded(QPainter& painter, const QRectF& place, double radius, const QColor& color, double width) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, width));
    painter.setBrush(Qt::NoBrush);
    const double half = width / 2;
    const double inner = qMax(0.0, radius - half);
    painter.drawRoundedRect(place.adjusted(half, half, -half, -half), inner, inner);
    painter.restore();
}

void drawFocusRing(QPainter& painter, const QRectF& place, double radius, const QColor& color) {
    strokeRounded(painter, place.adjusted(-4, -4, 4, 4), radius + 4, color, 2);
}

// Many faint layers, as strong as a bell curve has them at their distance from the edge.
void drawPanelShadow(QPainter& painter, const QRectF& place, double radius, const QColor& color) {
    constexpr int drop = 8;
    constexpr int furthest = panelShadowReach - drop;
    constexpr int step = 2;
    constexpr double width = 11;
    QColor layer = color;
    for (int reach = -furthest; reach <= furthest; reach += step) {
        const double share =
            step * std::exp(-reach * reach / (2 * width * width)) / (width * std::sqrt(2 * std::numbers::pi));
        layer.setAlphaF(float(color.alphaF() * share));
        fillRounded(painter, place.translated(0, drop) + QMarginsF(reach, reach, reach, reach),
                    qMax(0.0, radius + reach), layer);
    }
}

double tabularWidth(const QFont& font, const QString& text) {
    const QFontMetricsF metrics(font);
    const double digit = digitWidth(metrics);
    double width = 0;
    for (const QChar c : text)
        width += c.isDigit() ? digit : metrics.horizontalAdvance(c);
    return width;
}

void drawTabular(QPainter& painter, QPointF start, const QString& text) {
    const QFontMetricsF metrics(painter.font());
    const double digit = digitWidth(metrics);
    for (const QChar c : text) {
        const double own = metrics.horizontalAdvance(c);
        const double cell = c.isDigit() ? digit : own;
        painter.drawText(start + QPointF((cell - own) / 2, 0), c);
        start.rx() += cell;
    }
}

double centredBaseline(const QFont& font, const QRectF& place) {
    const QFontMetricsF metrics(font);
    return place.top() + (place.height() - metrics.ascent() - metrics.descent()) / 2 + metrics.ascent();
}

} // namespace tavrin
