#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

namespace tavrin {

/// Fills a rounded rectangle, anti-aliased.
void fillRounded(QPainter& painter, const QRectF& place, double radius, const QColor& color);

/// Draws a line along the inner edge of a rounded rectangle.
void strokeRounded(QPainter& painter, const QRectF& place, double radius, const QColor& color, double width);

/// Draws the focus ring around `place`: 2 wide, 2 away from it.
void drawFocusRing(QPainter& painter, const QRectF& place, double radius, const QColor& color);

/// Draws the one shadow of what floats over a window below `place`, which is painted on top of it.
void drawPanelShadow(QPainter& painter, const QRectF& place, double radius, const QColor& color);
/// How far that shadow reaches.
inline constexpr int panelShadowReach = 32;

/// Width of a text whose digits all take the width of the widest one, so that counting times do not jitter.
double tabularWidth(const QFont& font, const QString& text);

/// Draws such a text from `start` on its baseline with the painter's font and pen.
void drawTabular(QPainter& painter, QPointF start, const QString& text);

/// The baseline that centres a font's line in `place`.
double centredBaseline(const QFont& font, const QRectF& place);

} // namespace tavrin
