#include "ui/meeting/ElapsedClock.h"

#include <algorithm>
#include <cmath>

namespace tavrin {

QString elapsedText(double seconds) {
    constexpr double longest = 359'999; // 99:59:59
    const int whole = std::isfinite(seconds) ? int(std::clamp(seconds, 0.0, longest)) : 0;
    const QChar zero = QLatin1Char('0');
    const int hours = whole / 3600;
    const QString rest = QStringLiteral(":%1").arg(whole % 60, 2, 10, zero);
    if (hours == 0) return QString::number(whole / 60) + rest;
    return QStringLiteral("%1:%2").arg(hours).arg(whole / 60 % 60, 2, 10, zero) + rest;
}

ElapsedClock::ElapsedClock(QObject* parent) : QObject(parent) {
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &ElapsedClock::tell);
}

void ElapsedClock::set(double seconds, bool runs) {
    base = seconds;
    running = runs;
    since.start();
    if (!running) timer.stop();
    tell();
}

double ElapsedClock::now() const {
    return running ? base + double(since.elapsed()) / 1000 : base;
}

QString ElapsedClock::text() const {
    return elapsedText(now());
}

void ElapsedClock::tell() {
    const double seconds = now();
    if (running) {
        const double rest = 1 - (seconds - std::floor(seconds));
        timer.start(std::clamp(int(std::ceil(rest * 1000)), 1, 1000));
    }
    const QString latest = elapsedText(seconds);
    if (latest == told) return;
    told = latest;
    emit changed(told);
}

} // namespace tavrin
