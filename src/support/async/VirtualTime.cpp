#include "support/async/VirtualTime.h"

#include "support/async/JobQueue.h"

#include <cstdio>
#include <cstdlib>

namespace tavrin {

namespace {

constexpr int jobsPerMoment = 1'000'000;

[[noreturn]] void fail(const char* reason) {
    std::fprintf(stderr, "VirtualTime: %s\n", reason);
    std::abort();
}

} // namespace

/// One executor of the time line.
class VirtualTime::Line final : public Executor {
public:
    explicit Line(VirtualTime& virtualTime) : owner(virtualTime) {}

    JobId postAt(SteadyInstant due, Job job) override {
        owner.expectOwnThread();
        if (owner.isClosing) return {};
        const JobId id{std::max(due, owner.time), ++owner.serials};
        jobs.add(id, std::move(job));
        return id;
    }

    bool cancel(JobId id) override {
        owner.expectOwnThread();
        return static_cast<bool>(jobs.take(id));
    }

    [[nodiscard]] SteadyInstant now() const override { return owner.time; }

    [[nodiscard]] bool isCurrent() const override {
        return std::this_thread::get_id() == owner.thread && (owner.running == nullptr || owner.running == this);
    }

    /// When and in which turn the next job would run, a stall considered.
    [[nodiscard]] JobId nextTurn() const { return {std::max(jobs.next().due, stalledUntil), jobs.next().serial}; }

    JobQueue jobs;
    SteadyInstant stalledUntil = SteadyInstant::min();

private:
    VirtualTime& owner;
};

VirtualTime::VirtualTime(Date start) : dateAtStart(start) {
    executors.push_back(std::make_unique<Line>(*this));
}

VirtualTime::~VirtualTime() {
    isClosing = true;
    for (const auto& executor : executors)
        const JobQueue dropped = std::exchange(executor->jobs, {});
}

Executor& VirtualTime::main() {
    return *executors.front();
}

Executor& VirtualTime::addExecutor() {
    return *executors.emplace_back(std::make_unique<Line>(*this));
}

void VirtualTime::advance(Duration by) {
    const SteadyInstant end = after(time, by);
    while (step(end)) {
    }
    time = end;
    jobsNow = 0;
}

bool VirtualTime::runUntil(const std::function<bool()>& done, Duration limit) {
    const SteadyInstant end = after(time, limit);
    while (!done()) {
        if (step(end)) continue;
        time = end;
        return false;
    }
    return true;
}

void VirtualTime::stall(Executor& executor, Duration duration) {
    for (const auto& line : executors) {
        if (line.get() == &executor) line->stalledUntil = std::max(line->stalledUntil, after(time, duration));
    }
}

std::size_t VirtualTime::pendingJobs() const {
    std::size_t count = 0;
    for (const auto& executor : executors)
        count += executor->jobs.size();
    return count;
}

VirtualTime::Line* VirtualTime::nextLine() const {
    Line* next = nullptr;
    for (const auto& executor : executors) {
        if (executor->jobs.isEmpty()) continue;
        if (next == nullptr || executor->nextTurn() < next->nextTurn()) next = executor.get();
    }
    return next;
}

/// Runs the next job, at its time, unless that comes after `limit`.
bool VirtualTime::step(SteadyInstant limit) {
    expectOwnThread();
    if (running != nullptr) fail("the time is moved from inside a job");
    Line* const line = nextLine();
    if (line == nullptr || line->nextTurn().due > limit) return false;

    const SteadyInstant due = line->nextTurn().due;
    jobsNow = due > time ? 1 : jobsNow + 1;
    if (jobsNow > jobsPerMoment) fail("jobs post each other without end at one moment");
    time = due;

    struct Turn {
        VirtualTime& owner;
        ~Turn() { owner.running = nullptr; }
    };
    const Turn turn{*this};
    running = line;
    line->jobs.takeNext()();
    return true;
}

void VirtualTime::expectOwnThread() const {
    if (std::this_thread::get_id() != thread) fail("used on a thread that is not its own");
}

} // namespace tavrin
