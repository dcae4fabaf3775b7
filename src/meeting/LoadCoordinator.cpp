#include "meeting/LoadCoordinator.h"

#include "meeting/WhisperTranscriptionEngine.h"
#include "support/async/Event.h"

#include <exception>

namespace tavrin {

/// A load that several may wait for, also after it has ended.
struct LoadCoordinator::Load {
    Event ended;
    std::exception_ptr error;
};

LoadCoordinator::LoadCoordinator(Executor& mainExecutor, WhisperTranscriptionEngine& loadedEngine)
    : main(mainExecutor), engine(loadedEngine), tasks(mainExecutor) {}

LoadCoordinator::~LoadCoordinator() = default;

Task<void> LoadCoordinator::ensureLoaded() {
    expectCurrent(main);
    if (engine.isLoaded()) co_return;
    if (!loadTask) {
        loadTask = std::make_shared<Load>();
        tasks.spawn(run(loadTask));
    }
    const auto load = loadTask;
    co_await load->ended.wait();
    if (load->error) std::rethrow_exception(load->error);
}

Task<void> LoadCoordinator::run(std::shared_ptr<Load> load) {
    try {
        co_await engine.ensureLoaded();
    } catch (...) {
        load->error = std::current_exception();
    }
    loadTask.reset();
    load->ended.set();
}

} // namespace tavrin
