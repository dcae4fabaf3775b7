#include "ui/components/StatusDot.h"

#include "ui/components/Painting.h"

#include <QPainter>
#include <cmath>
#include <numbers>

namespace tavrin {

namespace {

constexpr int frameMilliseconds = 100; // enough for so slow a change of so small a thing
constexpr double periodMilliseconds = 1600;
constexpr double dimmest = 0.45;

} // namespace

StatusDot::StatusDot(const Theme& shown, Token inColor, QWidget* parent)
    : QWidget(parent), theme(shown), color(inColor) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    followTheme(*this, theme);
    connect(&theme, &Theme::changed, this, &StatusDot::startOrStop);
}

void StatusDot::setColor(Token wanted) {
    if (color == wanted) return;
    color = wanted;
    update();
}

void StatusDot::setPulsing(bool wanted) {
    if (pulsing == wanted) return;
    pulsing = wanted;
    startOrStop();
}

void StatusDot::startOrStop() {
    const bool run = pulsing && theme.moves() && isVisible();
    if (run == frames.isActive()) return;
    if (run) {
        since.start();
        frames.start(frameMilliseconds, this);
    } else
        frames.stop();
    update();
}

void StatusDot::timerEvent(QTimerEvent* /*event*/) {
    update();
}

void StatusDot::showEvent(QShowEvent* /*event*/) {
    startOrStop();
}

void StatusDot::hideEvent(QHideEvent* /*event*/) {
    frames.stop();
}

void StatusDot::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    if (frames.isActive()) {
        const double phase = double(since.elapsed()) / periodMilliseconds * 2 * std::numbers::pi;
        painter.setOpacity((1 + dimmest) / 2 + (1 - dimmest) / 2 * std::cos(phase));
    }
    fillRounded(painter, rect(), 4, theme.color(color));
}

} // namespace tavrin
