#pragma once

#include "support/async/JobQueue.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace tavrin {

/// Threads that serial executors share. It promises no order between jobs and is no Executor.
///
/// Thread:   all operations from any thread.
/// Lifetime: outlives its serial executors. Destruction drops what has not begun, waits for what runs and joins;
///           it must not happen on one of the pool's own threads.
/// Errors:   a job that throws ends the program.
class ThreadPool final {
public:
    /// `name` is what the system's tools show of each thread; at most 15 letters of it. `niceness` above 0 lets other
    /// threads go first where the processors are short.
    explicit ThreadPool(unsigned threadCount, const char* name = "pool", int niceness = 0);
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;
    ~ThreadPool();

    JobId postAt(SteadyInstant due, Job job);

    /// Drops a job that has not begun and says whether there was one.
    bool cancel(JobId id);

    [[nodiscard]] static SteadyInstant now();

private:
    void work();

    std::mutex mutex;
    std::condition_variable changed;
    JobQueue jobs;
    std::uint64_t serials = 0;
    bool isClosing = false;
    std::vector<std::thread> threads;
};

} // namespace tavrin
