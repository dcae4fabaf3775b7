#include "support/async/ThreadPool.h"

#include "support/time/Clock.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <string>

namespace tavrin {

ThreadPool::ThreadPool(unsigned threadCount, const char* name, int niceness) {
    constexpr std::size_t longestName = 15; // the system takes no more
    const std::string shown = std::string(name).substr(0, longestName);
    threads.reserve(threadCount);
    for (unsigned i = 0; i < threadCount; ++i) {
        threads.emplace_back([this, niceness] {
            // On Linux a priority is a thread's own. Failing to be polite is no failure.
            if (niceness != 0) setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceness);
            work();
        });
        pthread_setname_np(threads.back().native_handle(), shown.c_str());
    }
}

ThreadPool::~ThreadPool() {
    {
        const std::scoped_lock lock(mutex);
        isClosing = true;
    }
    changed.notify_all();
    for (std::thread& thread : threads)
        thread.join();
}

JobId ThreadPool::postAt(SteadyInstant due, Job job) {
    JobId id;
    {
        const std::scoped_lock lock(mutex);
        id = {std::max(due, now()), ++serials};
        jobs.add(id, std::move(job));
    }
    changed.notify_one();
    return id;
}

bool ThreadPool::cancel(JobId id) {
    Job dropped; // destroyed after the lock: its destructor may do anything
    const std::scoped_lock lock(mutex);
    dropped = jobs.take(id);
    return static_cast<bool>(dropped);
}

SteadyInstant ThreadPool::now() {
    return SystemSteadyClock().now();
}

void ThreadPool::work() {
    std::unique_lock lock(mutex);
    while (!isClosing) {
        if (jobs.isEmpty()) {
            changed.wait(lock);
        } else if (!jobs.isDue(now())) {
            const Duration due = jobs.next().due.time_since_epoch();
            changed.wait_until(lock, std::chrono::steady_clock::time_point(due));
        } else {
            Job job = jobs.takeNext();
            lock.unlock();
            job();
            job = nullptr;
            lock.lock();
        }
    }
}

} // namespace tavrin
