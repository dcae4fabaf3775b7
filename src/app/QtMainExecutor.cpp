#include "app/QtMainExecutor.h"

#include "support/time/Clock.h"

#include <QCoreApplication>
#include <QEvent>
#include <algorithm>
#include <chrono>
#include <utility>

namespace tavrin {

namespace {

const QEvent::Type wakeEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

/// After so long in one turn, what else waits in the event loop comes first.
constexpr Duration turnLength = std::chrono::milliseconds(4);

} // namespace

QtMainExecutor::QtMainExecutor() {
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, [this] { runDueJobs(); });
}

QtMainExecutor::~QtMainExecutor() {
    while (true) {
        Job dropped; // destroyed outside the lock
        const std::scoped_lock lock(mutex);
        if (jobs.isEmpty()) return;
        dropped = jobs.takeNext();
    }
}

JobId QtMainExecutor::postAt(SteadyInstant due, Job job) {
    const std::scoped_lock lock(mutex);
    const JobId id{.due = std::max(due, now()), .serial = ++serials};
    jobs.add(id, std::move(job));
    if (jobs.next() == id) wakeSoon();
    return id;
}

bool QtMainExecutor::cancel(JobId id) {
    Job dropped; // destroyed outside the lock
    {
        const std::scoped_lock lock(mutex);
        dropped = jobs.take(id);
    }
    return static_cast<bool>(dropped);
}

SteadyInstant QtMainExecutor::now() const {
    return SystemSteadyClock().now();
}

void QtMainExecutor::wakeSoon() {
    if (std::exchange(isWakePosted, true)) return;
    QCoreApplication::postEvent(this, new QEvent(wakeEvent));
}

bool QtMainExecutor::event(QEvent* event) {
    if (event->type() != wakeEvent) return QObject::event(event);
    {
        const std::scoped_lock lock(mutex);
        isWakePosted = false;
    }
    runDueJobs();
    return true;
}

void QtMainExecutor::runDueJobs() {
    const SteadyInstant end = now() + turnLength;
    while (true) {
        Job job;
        {
            const std::scoped_lock lock(mutex);
            if (jobs.isEmpty()) return timer.stop();
            const SteadyInstant moment = now();
            if (!jobs.isDue(moment)) {
                const auto wait = std::chrono::ceil<std::chrono::milliseconds>(jobs.next().due - moment);
                return timer.start(std::min(wait, std::chrono::milliseconds(std::chrono::hours(24))));
            }
            if (moment >= end) return wakeSoon();
            job = jobs.takeNext();
        }
        job();
    }
}

} // namespace tavrin
