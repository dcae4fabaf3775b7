#pragma once

#include "support/time/Time.h"

#include <functional>
#include <optional>
#include <string>

struct pa_context;
struct pa_mainloop_api;
struct pa_server_info;

namespace tavrin {

/// The default devices of a sound server, by name; empty where it names none.
struct PulseDefaults {
    std::string sink, source;

    bool operator==(const PulseDefaults&) const = default;
};

PulseDefaults defaultsOf(const pa_server_info& info);

/// Asks for the defaults over a connection of its own. PipeWire may tell a connection that stands of a change never:
/// the message is lost when another program connects at that moment. One that is new gets them as they are.
/// Thread: the server's loop, or holding its lock.
class PulseDefaultsProbe final {
public:
    /// `done` is called when there is an answer.
    explicit PulseDefaultsProbe(std::function<void()> done);
    PulseDefaultsProbe(const PulseDefaultsProbe&) = delete;
    PulseDefaultsProbe& operator=(const PulseDefaultsProbe&) = delete;
    ~PulseDefaultsProbe();

    /// Something may have changed: asks once it has been quiet for a second.
    void changed(SteadyInstant now) { changedAt = now; }
    /// Asks now and then. Call it about twice a second, with what the old connection told last.
    void tick(pa_mainloop_api* loop, SteadyInstant now, const PulseDefaults& told);
    /// Nobody wants to know: the next tick() asks at once.
    void rest();
    /// Nothing is known any more.
    void forget();
    /// What the new connection was told, for as long as the old one is told the same as when it was asked.
    [[nodiscard]] PulseDefaults corrected(const PulseDefaults& told);

private:
    struct Callbacks;
    void close();

    std::function<void()> done;
    pa_context* context = nullptr;
    SteadyInstant askedAt, changedAt;
    PulseDefaults toldThen; ///< to the old connection
    std::optional<PulseDefaults> seen;
};

} // namespace tavrin
