#pragma once

#include <functional>
#include <memory>
#include <thread>

struct _GCancellable; // NOLINT(bugprone-reserved-identifier): the library's own name

namespace tavrin {

/// A thread whose main loop delivers what the bus library has to say, so that calls may wait there and nowhere else.
///
/// Thread:   post() from any. Jobs run one by one in order; signals that were subscribed to in a job come there too.
/// Lifetime: the destructor cancels the call that runs, drops the jobs that wait and returns when the thread has ended.
class BusThread final {
public:
    BusThread();
    ~BusThread();
    BusThread(const BusThread&) = delete;
    BusThread& operator=(const BusThread&) = delete;

    void post(std::function<void()> job);

    /// To be given to every call that may wait.
    [[nodiscard]] _GCancellable* cancellable() const;

private:
    struct Loop;

    std::unique_ptr<Loop> loop;
    std::thread thread;
};

} // namespace tavrin
