#include "support/async/SerialExecutor.h"

#include "support/async/JobQueue.h"

#include <future>

namespace tavrin {

/// What the pool's threads see of the executor: it lives until the last turn has ended.
class SerialExecutor::Queue final : public std::enable_shared_from_this<Queue> {
public:
    explicit Queue(ThreadPool& threadPool) : pool(threadPool) {}

    JobId add(SteadyInstant due, Job job);
    bool cancel(JobId id);
    void close();
    [[nodiscard]] bool isCurrent() const { return current == this; }

private:
    static constexpr int jobsPerTurn = 64;

    void askForTurn();
    void turn();

    static thread_local const Queue* current;

    ThreadPool& pool;
    std::mutex mutex;
    std::condition_variable turnEnded;
    // guarded by the mutex
    JobQueue jobs;
    std::uint64_t serials = 0;
    JobId askedTurn;
    bool isRunning = false;
    bool isClosed = false;
};

thread_local const SerialExecutor::Queue* SerialExecutor::Queue::current = nullptr;

JobId SerialExecutor::Queue::add(SteadyInstant due, Job job) {
    const std::scoped_lock lock(mutex);
    if (isClosed) return {};
    const JobId id{std::max(due, ThreadPool::now()), ++serials};
    jobs.add(id, std::move(job));
    askForTurn();
    return id;
}

bool SerialExecutor::Queue::cancel(JobId id) {
    Job dropped; // destroyed after the lock: its destructor may do anything
    const std::scoped_lock lock(mutex);
    dropped = jobs.take(id);
    return static_cast<bool>(dropped);
}

void SerialExecutor::Queue::close() {
    JobQueue dropped; // destroyed after the lock
    std::unique_lock lock(mutex);
    isClosed = true;
    pool.cancel(askedTurn);
    if (!isCurrent()) turnEnded.wait(lock, [this] { return !isRunning; });
    std::swap(dropped, jobs);
}

/// Sees to it that a turn comes when the next job is due. A turn that was asked for in vain does no harm.
void SerialExecutor::Queue::askForTurn() {
    if (isRunning || isClosed || jobs.isEmpty()) return;
    const SteadyInstant due = jobs.next().due;
    if (askedTurn && askedTurn.due <= due) return;
    pool.cancel(askedTurn);
    askedTurn = pool.postAt(due, [self = shared_from_this()] { self->turn(); });
}

void SerialExecutor::Queue::turn() {
    std::unique_lock lock(mutex);
    askedTurn = {};
    if (isRunning || isClosed) return;
    isRunning = true;
    current = this;
    for (int i = 0; i < jobsPerTurn && !isClosed && jobs.isDue(ThreadPool::now()); ++i) {
        Job job = jobs.takeNext();
        lock.unlock();
        job();
        job = nullptr;
        lock.lock();
    }
    current = nullptr;
    isRunning = false;
    askForTurn();
    turnEnded.notify_all();
}

SerialExecutor::SerialExecutor(ThreadPool& pool) : queue(std::make_shared<Queue>(pool)) {}

SerialExecutor::~SerialExecutor() {
    queue->close();
}

JobId SerialExecutor::postAt(SteadyInstant due, Job job) {
    return queue->add(due, std::move(job));
}

bool SerialExecutor::cancel(JobId id) {
    return queue->cancel(id);
}

SteadyInstant SerialExecutor::now() const {
    return ThreadPool::now();
}

bool SerialExecutor::isCurrent() const {
    return queue->isCurrent();
}

void SerialExecutor::runAndWait(Job job) {
    if (isCurrent()) return job();
    std::promise<void> promise;
    const std::future<void> done = promise.get_future();
    post([&job, end = std::move(promise)]() mutable {
        job();
        end.set_value();
    });
    done.wait();
}

} // namespace tavrin
