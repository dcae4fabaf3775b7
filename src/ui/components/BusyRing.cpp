#include "ui/components/BusyRing.h"

#include <QPainter>

namespace tavrin {

namespace {

constexpr int frameMilliseconds = 33;
constexpr int degreesPerFrame = 12;

} // namespace

BusyRing::BusyRing(const Theme& shown, const QString& accessibleName, QWidget* parent) : QWidget(parent), theme(shown) {
    setAccessibleName(accessibleName);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    followTheme(*this, theme);
}

void BusyRing::showEvent(QShowEvent* /*event*/) {
    if (theme.moves()) frames.start(frameMilliseconds, this);
}

void BusyRing::hideEvent(QHideEvent* /*event*/) {
    frames.stop();
}

void BusyRing::timerEvent(QTimerEvent* /*event*/) {
    if (!theme.moves()) frames.stop();
    degrees = (degrees + degreesPerFrame) % 360;
    update();
}

void BusyRing::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF ring = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
    painter.setPen(QPen(theme.color(Token::track), 2));
    painter.drawEllipse(ring);
    painter.setPen(QPen(theme.color(Token::accent), 2, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(ring, (90 - degrees) * 16, -90 * 16);
}

} // namespace tavrin
