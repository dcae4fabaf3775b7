#include "app/UiHeartbeat.h"

#include "support/log/Log.h"
#include "support/time/Clock.h"

#include <QSaveFile>
#include <algorithm>
#include <chrono>
#include <utility>

namespace tavrin {

namespace {
constexpr Logger log{"Heartbeat"};
constexpr Duration worthALine = std::chrono::milliseconds(30);
} // namespace

UiHeartbeat::UiHeartbeat(QString target) : file(std::move(target)), last(SystemSteadyClock().now()) {
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, [this] { beat(); });
    timer.start(10);
}

UiHeartbeat::~UiHeartbeat() {
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly)) return;
    out.write("worst_gap_ms " + QByteArray::number(std::chrono::duration<double, std::milli>(worst).count(), 'f', 1) +
              "\n");
    out.commit();
}

void UiHeartbeat::beat() {
    const SteadyInstant now = SystemSteadyClock().now();
    const Duration gap = now - last;
    if (gap > worthALine) log.info("gap of {:.1f} ms", std::chrono::duration<double, std::milli>(gap).count());
    worst = std::max(worst, gap);
    last = now;
}

} // namespace tavrin
