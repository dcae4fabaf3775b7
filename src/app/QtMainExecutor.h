#pragma once

#include "support/async/Executor.h"
#include "support/async/JobQueue.h"

#include <QObject>
#include <QTimer>
#include <cstdint>
#include <mutex>
#include <thread>

namespace tavrin {

/// The main executor: jobs run in the turns of the application's event loop, a few milliseconds of them at a time, so
/// that input and painting are never held up for long.
///
/// Thread:   made and destroyed on the main thread; post, postAt, cancel and now from any.
/// Lifetime: the QApplication outlives it. Destruction drops pending jobs without running them.
class QtMainExecutor final : public QObject, public Executor {
public:
    QtMainExecutor();
    ~QtMainExecutor() override;

    JobId postAt(SteadyInstant due, Job job) override;
    bool cancel(JobId id) override;
    [[nodiscard]] SteadyInstant now() const override;
    [[nodiscard]] bool isCurrent() const override { return std::this_thread::get_id() == thread; }

private:
    bool event(QEvent* event) override;
    void runDueJobs();
    void wakeSoon();

    const std::thread::id thread = std::this_thread::get_id();
    QTimer timer; // for the next job that is not due yet
    std::mutex mutex;
    // guarded
    JobQueue jobs;
    std::uint64_t serials = 0;
    bool isWakePosted = false;
};

} // namespace tavrin
