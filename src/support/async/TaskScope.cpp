#include "support/async/TaskScope.h"

#include "support/async/Event.h"

#include <cstdio>
#include <list>
#include <optional>

namespace tavrin {

namespace detail {

/// The tasks of a scope. It outlives the scope while one of them runs.
class SpawnedTasks final {
public:
    explicit SpawnedTasks(TaskScope::ErrorHandler onError) : errorHandler(std::move(onError)) {}

    void clear();
    void report(const std::exception_ptr& error);

    std::list<std::shared_ptr<SpawnedTask>> list; // in the order in which they were spawned
    bool isClosed = false;

private:
    TaskScope::ErrorHandler errorHandler;
};

/// The root of a tree of tasks and how it ended.
class SpawnedTask final : public TaskTree, private TaskObserver, public std::enable_shared_from_this<SpawnedTask> {
public:
    SpawnedTask(Executor& executor, Task<void>&& task) : TaskTree(executor), root(std::move(task)) {}

    void spawnIn(const std::shared_ptr<SpawnedTasks>& tasks);
    void drop();
    void cancel();
    void resume(std::coroutine_handle<> waiter) override;
    [[nodiscard]] bool isEnding() const override { return howItEnded.has_value(); }
    [[nodiscard]] TaskEnd end() const { return howItEnded.value_or(TaskEnd::cancelled); }

    Event ended;

private:
    void taskEnded() noexcept override { rootEnded = true; }
    void destroyRoot();

    Task<void> root;
    Resumption beginning;
    bool isRunning = false;
    bool rootEnded = false;
    std::optional<TaskEnd> howItEnded;
    std::shared_ptr<SpawnedTasks> scope; // until it has ended
    std::list<std::shared_ptr<SpawnedTask>>::iterator place;
};

void SpawnedTask::spawnIn(const std::shared_ptr<SpawnedTasks>& tasks) {
    scope = tasks;
    place = tasks->list.insert(tasks->list.end(), shared_from_this());
    beginning.bind(*this, root.begin(*this, *this));
    beginning.post();
}

/// Ends it without ever having begun.
void SpawnedTask::drop() {
    howItEnded = TaskEnd::cancelled;
    destroyRoot();
}

void SpawnedTask::cancel() {
    expectCurrent(home());
    if (howItEnded) return;
    const auto self = weak_from_this().lock(); // the last owner may let go meanwhile
    howItEnded = TaskEnd::cancelled;
    scope->list.erase(place);
    scope.reset();
    if (!isRunning) destroyRoot();
}

void SpawnedTask::resume(std::coroutine_handle<> waiter) {
    const auto self = weak_from_this().lock(); // the last owner may let go meanwhile
    isRunning = true;
    waiter.resume();
    isRunning = false;
    if (howItEnded) return destroyRoot();
    if (!rootEnded) return;

    const std::exception_ptr error = root.error();
    howItEnded = error ? TaskEnd::failed : TaskEnd::finished;
    scope->list.erase(place);
    const auto tasks = std::exchange(scope, nullptr);
    destroyRoot();
    if (error) tasks->report(error);
}

void SpawnedTask::destroyRoot() {
    beginning.withdraw();
    root.cancel();
    ended.set();
}

void SpawnedTasks::clear() {
    while (!list.empty()) {
        const auto newest = list.back();
        newest->cancel();
    }
}

void SpawnedTasks::report(const std::exception_ptr& error) {
    if (errorHandler) return errorHandler(error);
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "an exception left a task: %s\n", exception.what());
    } catch (...) {
        std::fprintf(stderr, "an exception of unknown type left a task\n");
    }
    std::terminate();
}

} // namespace detail

bool TaskHandle::isActive() const {
    return task && !task->isEnding();
}

void TaskHandle::cancel() {
    if (task) task->cancel();
}

Task<TaskEnd> TaskHandle::completion() const {
    return [](std::shared_ptr<detail::SpawnedTask> awaited) -> Task<TaskEnd> {
        if (!awaited) co_return TaskEnd::finished;
        co_await awaited->ended.wait();
        co_return awaited->end();
    }(task);
}

TaskScope::TaskScope(Executor& executor, ErrorHandler onError)
    : home(executor), tasks(std::make_shared<detail::SpawnedTasks>(std::move(onError))) {}

TaskScope::~TaskScope() {
    tasks->isClosed = true;
    if (!isEmpty()) clear();
}

TaskHandle TaskScope::spawn(Task<void> task) {
    expectCurrent(home);
    const auto spawned = std::make_shared<detail::SpawnedTask>(home, std::move(task));
    if (tasks->isClosed)
        spawned->drop();
    else
        spawned->spawnIn(tasks);
    return TaskHandle(spawned);
}

void TaskScope::clear() {
    expectCurrent(home);
    const auto alive = tasks; // a destructor may destroy the scope
    alive->clear();
}

bool TaskScope::isEmpty() const {
    return tasks->list.empty();
}

} // namespace tavrin
