#pragma once

#include "support/time/Time.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <source_location>
#include <utility>

namespace tavrin {

/// Work for an executor: anything callable that can be moved. It must not throw.
using Job = std::move_only_function<void()>;

/// Names a posted job, for cancel(). A default one names none. Jobs run in the order of their names.
struct JobId {
    SteadyInstant due;
    std::uint64_t serial = 0;

    explicit operator bool() const { return serial != 0; }
    friend auto operator<=>(const JobId&, const JobId&) = default;
};

/// Runs jobs one after another, never two at once and never inside the call that posts them.
///
/// Order:   by due time, then by posting. What is posted now is due now: without timers this is a queue.
/// Thread:  post, postAt, cancel and now from any thread, unless an executor says otherwise.
/// Owner:   whoever made it; it outlives every TaskScope and Published on it. Its destruction drops pending jobs
///          without running them and waits for the running one.
/// Errors:  a job that throws ends the program.
class Executor {
public:
    Executor() = default;
    Executor(const Executor&) = delete;
    Executor& operator=(const Executor&) = delete;
    virtual ~Executor() = default;

    JobId post(Job job) { return postAt(now(), std::move(job)); }

    /// Runs `job` at `due`, or as soon after it as the jobs before it allow. A time that has passed means now.
    virtual JobId postAt(SteadyInstant due, Job job) = 0;

    /// Drops a job that has not begun and says whether there was one. On this executor's own thread the answer is
    /// final: the job will not run. Elsewhere false may also mean that it is running at this moment.
    virtual bool cancel(JobId id) = 0;

    [[nodiscard]] virtual SteadyInstant now() const = 0;

    /// Whether the caller is where this executor's jobs run, so that it may touch what belongs to them.
    [[nodiscard]] virtual bool isCurrent() const = 0;
};

/// Ends a debug build with the caller's place when `executor` is not the current one. Does nothing with NDEBUG.
void expectCurrent(const Executor& executor, std::source_location caller = std::source_location::current());

} // namespace tavrin
