#pragma once

#include "support/async/Executor.h"
#include "support/time/Clock.h"

#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace tavrin {

/// Time that moves only when told to, with executors and clocks on it, for tests: every run is the same run.
///
/// Jobs of all executors stand in one line, by due time and then by posting; the time stands still while one runs.
/// Outside of a job every executor is current, so that a test may create, use and destroy what belongs to them.
///
/// Thread:   the one it was made on, for its executors as well; anything else ends the program.
/// Lifetime: outlives what uses its executors and clocks. Destruction drops pending jobs.
/// Errors:   what a job throws comes out of the call that moved the time. Moving the time from inside a job, and
///           a million jobs at one moment, end the program.
class VirtualTime final {
public:
    explicit VirtualTime(Date start = Date(800'000'000));
    VirtualTime(const VirtualTime&) = delete;
    VirtualTime& operator=(const VirtualTime&) = delete;
    ~VirtualTime();

    /// The executor that stands for the main thread.
    [[nodiscard]] Executor& main();

    /// Another executor on this time line; it lives as long as the time.
    [[nodiscard]] Executor& addExecutor();

    [[nodiscard]] SteadyInstant now() const { return time; }
    [[nodiscard]] const SteadyClock& steadyClock() const { return steady; }
    [[nodiscard]] const WallClock& wallClock() const { return wall; }

    /// Runs what is due now and what that posts, until nothing is left at this moment.
    void runUntilIdle() { advance(Duration::zero()); }

    /// Moves the time on by `by`, running everything that is due on the way at its moment, the last one included.
    void advance(Duration by);

    /// Moves the time on, from job to job, until `done` answers yes, and says whether it did within `limit`.
    bool runUntil(const std::function<bool()>& done, Duration limit);

    /// Lets `executor` run nothing for `duration` from now, as if one of its jobs took that long.
    void stall(Executor& executor, Duration duration);

    /// Jobs that wait on all executors, timers included. Zero means that nothing was left behind.
    [[nodiscard]] std::size_t pendingJobs() const;

private:
    class Line;

    struct Steady final : SteadyClock {
        explicit Steady(const VirtualTime& virtualTime) : owner(virtualTime) {}
        [[nodiscard]] SteadyInstant now() const override { return owner.time; }
        const VirtualTime& owner;
    };
    struct Wall final : WallClock {
        explicit Wall(const VirtualTime& virtualTime) : owner(virtualTime) {}
        [[nodiscard]] Date now() const override { return owner.dateAtStart + (owner.time - startOfTime); }
        const VirtualTime& owner;
    };

    static constexpr SteadyInstant startOfTime{std::chrono::hours(1)};

    Line* nextLine() const;
    bool step(SteadyInstant limit);
    void expectOwnThread() const;

    const std::thread::id thread = std::this_thread::get_id();
    const Steady steady{*this};
    const Wall wall{*this};
    SteadyInstant time = startOfTime;
    const Date dateAtStart;
    std::uint64_t serials = 0;
    int jobsNow = 0; // run at this moment
    const Line* running = nullptr;
    bool isClosing = false;
    std::vector<std::unique_ptr<Line>> executors;
};

} // namespace tavrin
