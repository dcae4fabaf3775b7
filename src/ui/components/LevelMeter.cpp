#include "ui/components/LevelMeter.h"

#include "ui/components/Painting.h"

#include <QPainter>
#include <QTimerEvent>

namespace tavrin {

namespace {

constexpr int frameMilliseconds = 33;
constexpr int valueStep = 5; // in a hundred: finer steps would only flood assistive technology

} // namespace

LevelMeter::LevelMeter(const Theme& shown, Token inColor, const QString& accessibleName, QWidget* parent)
    : QProgressBar(parent), theme(shown), color(inColor) {
    setAccessibleName(accessibleName);
    setRange(0, 100);
    setTextVisible(false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    clock.start();
    followTheme(*this, theme);
}

double LevelMeter::now() const {
    return double(clock.elapsed()) / 1000;
}

void LevelMeter::setLevel(float level) {
    motion.set(level, now());
    if (!isVisible()) return;
    update();
    tellValue();
    if (!motion.isStill() && !frames.isActive()) frames.start(frameMilliseconds, this);
}

void LevelMeter::pin(float level, float mark) {
    pinnedLevel = level;
    pinnedMark = mark;
    update();
}

void LevelMeter::tellValue() {
    const int heard = qRound(motion.level() * 100 / valueStep) * valueStep;
    if (heard != value()) setValue(heard);
}

void LevelMeter::timerEvent(QTimerEvent* event) {
    if (event->timerId() != frames.timerId()) return QProgressBar::timerEvent(event);
    motion.advance(now());
    tellValue();
    update();
    if (motion.isStill()) frames.stop();
}

void LevelMeter::hideEvent(QHideEvent* event) {
    frames.stop();
    QProgressBar::hideEvent(event);
}

void LevelMeter::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const double top = (height() - 4) / 2.0;
    const double level = pinnedLevel >= 0 ? pinnedLevel : motion.level();
    const double mark = pinnedLevel >= 0 ? pinnedMark : motion.peak();
    fillRounded(painter, {0, top, double(width()), 4}, 2, theme.color(Token::track));
    if (level > 0) fillRounded(painter, {0, top, width() * level, 4}, 2, theme.color(color));
    const double place = qMin(width() * mark, width() - 2.0);
    if (mark > 0) fillRounded(painter, {place, top - 2, 2, 8}, 1, theme.color(color));
}

} // namespace tavrin
