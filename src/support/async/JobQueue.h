#pragma once

#include "support/async/Executor.h"

#include <map>
#include <utility>

namespace tavrin {

/// The pending jobs of one executor, in the order in which they will run. For those who write executors.
/// Thread: none of its own; the executor guards it. Jobs are handed out, so that they can be destroyed outside a lock.
class JobQueue final {
public:
    [[nodiscard]] bool isEmpty() const { return jobs.empty(); }
    [[nodiscard]] std::size_t size() const { return jobs.size(); }

    /// The job that comes next, due or not. The queue must not be empty.
    [[nodiscard]] JobId next() const { return jobs.begin()->first; }
    [[nodiscard]] bool isDue(SteadyInstant now) const { return !jobs.empty() && next().due <= now; }

    void add(JobId id, Job job) { jobs.emplace(id, std::move(job)); }

    /// Takes the next job out. The queue must not be empty.
    Job takeNext() { return std::move(jobs.extract(jobs.begin()).mapped()); }

    /// Takes the named job out; an empty job when it is not here.
    Job take(JobId id) {
        auto node = jobs.extract(id);
        return node ? std::move(node.mapped()) : Job();
    }

private:
    std::map<JobId, Job> jobs;
};

} // namespace tavrin
