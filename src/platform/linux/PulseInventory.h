#pragma once

#include "platform/linux/PulseSnapshot.h"

#include <functional>

struct pa_context;

namespace tavrin {

/// Asks a sound server what devices it has. Requests that come while one is under way are answered together.
/// Thread: the server's loop, or holding its lock.
class PulseInventory final {
public:
    /// `told` gets each complete answer.
    explicit PulseInventory(std::function<void(PulseSnapshot)> told);

    void refresh(pa_context* context);
    /// The connection is gone: what was asked will not be answered.
    void forget();

private:
    void ask(pa_context* context);
    void finish(pa_context* context, bool isComplete);

    struct Callbacks;
    std::function<void(PulseSnapshot)> told;
    PulseSnapshot gathered;
    bool isAsking = false, askAgain = false;
};

} // namespace tavrin
