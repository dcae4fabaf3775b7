#pragma once

#include "platform/linux/PulseDefaults.h"
#include "platform/linux/PulseInventory.h"
#include "platform/linux/PulseSnapshot.h"
#include "support/time/Time.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

struct pa_context;
struct pa_threaded_mainloop;
struct pa_time_event;

namespace tavrin {

/// The one connection of this program to a sound server that speaks the PulseAudio protocol.
///
/// It connects by itself and, once the server went or stopped answering, tries again every second. A server that hangs
/// is noticed within four seconds, since it says nothing of it. While something records, PipeWire is asked for the
/// defaults over a second connection, too: it may not tell the first of a change.
/// Thread: any, unless said otherwise. Callbacks of the library run on a thread of its own, the loop.
/// Life:   outlives all that stands on it.
class PulseServer final {
public:
    /// Something that looks after itself on the loop: called twice a second and after each change of the server.
    class Client {
    public:
        virtual ~Client() = default;
        virtual void check() = 0;
    };

    /// Keeps the loop from running. Never taken on the loop itself.
    class Lock final {
    public:
        explicit Lock(PulseServer& server);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* loop;
    };

    /// Waits up to `firstAnswer` for the first answer, so that there are devices at once where there is a server.
    /// Throws std::runtime_error if no thread can be had.
    explicit PulseServer(Duration firstAnswer = std::chrono::milliseconds(500));
    PulseServer(const PulseServer&) = delete;
    PulseServer& operator=(const PulseServer&) = delete;
    ~PulseServer();

    /// Never blocks.
    [[nodiscard]] std::shared_ptr<const PulseSnapshot> snapshot() const;

    /// Tries at once if there is no connection. False when no server answers within `limit`.
    bool waitUntilConnected(Duration limit);
    /// Waits for something that the loop does and then calls wake() for. Not on the loop.
    bool waitUntil(Duration limit, const std::function<bool()>& condition);
    /// Waits until the snapshot is another than `known`, or until wake() for `isOver`.
    void waitForChange(const std::shared_ptr<const PulseSnapshot>& known, const std::function<bool()>& isOver);
    void wake();

    /// Holding the lock, or on the loop. None without a connection.
    [[nodiscard]] pa_context* connection() const;
    void add(Client& client);
    void remove(Client& client);
    /// Holding the lock, or on the loop. While there are recordings, the defaults are asked for anew now and then.
    void recordingBegins() { ++recordings; }
    void recordingEnds() { --recordings; }

private:
    enum class Status : std::uint8_t { down, connecting, connected };

    void connect();
    void drop();
    void lose(const char* reason);
    void accept(PulseSnapshot snapshot);
    void publish(PulseSnapshot snapshot);
    void tick();
    void watch(SteadyInstant now);
    void checkClients();

    struct Callbacks;
    pa_threaded_mainloop* loop;
    // loop
    pa_context* context = nullptr;
    pa_time_event* timer = nullptr;
    PulseInventory inventory;
    PulseDefaults told; ///< to this connection
    PulseDefaultsProbe probe;
    std::vector<Client*> clients;
    int recordings = 0;
    SteadyInstant since; ///< connecting, or down, or asked whether it still answers
    bool isAsked = false;
    bool isFailureTold = false;
    std::atomic<Status> status = Status::down;
    // any thread
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::shared_ptr<const PulseSnapshot> latest = std::make_shared<const PulseSnapshot>();
};

} // namespace tavrin
