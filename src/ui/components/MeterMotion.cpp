#include "ui/components/MeterMotion.h"

#include <algorithm>
#include <cmath>

namespace tavrin {

namespace {

constexpr double fallPerSecond = 12; // dB
constexpr double holdSeconds = 0.6;
constexpr float silence = 0.002F; // less than a pixel of any meter

float fallen(float level, double seconds) {
    const float after = level * float(std::pow(10.0, -fallPerSecond * seconds / 20));
    return after < silence ? 0 : after;
}

} // namespace

void MeterMotion::set(float newLevel, double now) {
    advance(now);
    target = std::isfinite(newLevel) ? std::clamp(newLevel, 0.0F, 1.0F) : 0;
    shown = std::max(shown, target);
    if (shown < mark) return;
    mark = shown;
    markSetAt = now;
}

void MeterMotion::advance(double now) {
    const double passed = std::max(0.0, now - at);
    const double falling = std::clamp(now - (markSetAt + holdSeconds), 0.0, passed);
    shown = std::max(target, fallen(shown, passed));
    mark = std::max(shown, fallen(mark, falling));
    at = now;
}

} // namespace tavrin
