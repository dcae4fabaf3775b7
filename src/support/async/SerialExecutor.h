#pragma once

#include "support/async/Executor.h"
#include "support/async/ThreadPool.h"

#include <memory>

namespace tavrin {

/// An executor of one's own on the threads of a pool: one job at a time, in order, on whichever thread is free.
///
/// Thread:   all operations from any thread.
/// Lifetime: the pool outlives it. Destruction waits for the running job, then drops the pending ones, timers
///           included, on the destroying thread. A job may destroy its own executor: it then runs to its end.
///           A TaskScope on it is cleared on it, before it dies: `executor.runAndWait([&] { tasks.clear(); })`.
/// Fairness: a busy executor gives its thread back after a number of jobs.
class SerialExecutor final : public Executor {
public:
    explicit SerialExecutor(ThreadPool& pool);
    SerialExecutor(const SerialExecutor&) = delete;
    SerialExecutor& operator=(const SerialExecutor&) = delete;
    ~SerialExecutor() override;

    JobId postAt(SteadyInstant due, Job job) override;
    bool cancel(JobId id) override;
    [[nodiscard]] SteadyInstant now() const override;
    [[nodiscard]] bool isCurrent() const override;

    /// Runs `job` here and returns when it has ended; at once when called from here. Blocks the calling thread, so it
    /// is for setting up and tearing down. Nothing that runs here may wait for the caller meanwhile.
    void runAndWait(Job job);

private:
    class Queue;
    std::shared_ptr<Queue> queue;
};

} // namespace tavrin
