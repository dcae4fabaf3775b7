#pragma once

#include "support/async/TaskScope.h"

#include <memory>

namespace tavrin {

class WhisperTranscriptionEngine;

/// Makes one load of those that several callers ask of an engine at once.
///
/// Thread:   main executor only (checked).
/// Lifetime: executor and engine outlive it. Callers that wait when it dies wait until they are cancelled.
/// Cancel:   a caller that is cancelled leaves the load to the others; it goes on also when nobody waits.
class LoadCoordinator final {
public:
    LoadCoordinator(Executor& main, WhisperTranscriptionEngine& engine);
    ~LoadCoordinator();

    /// Ends when the engine is loaded: at once, with the load that is under way, or with one begun now. Throws what
    /// that load throws; the next caller begins another. An engine that lost its models since is loaded again.
    Task<void> ensureLoaded();

private:
    struct Load;
    Task<void> run(std::shared_ptr<Load> load);

    // constant after construction
    Executor& main;
    WhisperTranscriptionEngine& engine;

    // state, main executor
    std::shared_ptr<Load> loadTask;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
