#pragma once

#include "platform/AudioBuffer.h"
#include "platform/linux/PulseSnapshot.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

struct pa_stream;

namespace tavrin {

class PulseServer;

/// One recording from one source, in the source's own rate and channels. It stays with that source until it fails;
/// it never opens again by itself. The first sound comes some tenths of a second late, in one piece: until then the
/// library does not know its time.
///
/// Thread: made, used and destroyed holding the server's lock or on its loop; state(), isStalled() and the names from
///         any thread. The receiver is called on the loop.
/// Life:   the server and the receiver outlive it. After its destruction the receiver is not called.
class PulseRecordStream final {
public:
    using Receiver = std::function<void(const AudioBuffer&)>;
    enum class State : std::uint8_t { opening, running, failed };

    struct Source {
        std::string uid;
        AudioFormat format;
    };

    /// `fragment` frames come at a time, if the source can and if they last 20 to 40 ms.
    /// Throws std::runtime_error when there is no connection or the server cannot even be asked.
    PulseRecordStream(PulseServer& server, Source source, std::size_t fragment, bool followsGap,
                      const Receiver& receiver);
    PulseRecordStream(const PulseRecordStream&) = delete;
    PulseRecordStream& operator=(const PulseRecordStream&) = delete;
    ~PulseRecordStream();

    [[nodiscard]] State state() const { return current; }
    /// Nothing came for 2.5 seconds. Sources give sound or silence all the time; a hung server says nothing of it.
    [[nodiscard]] bool isStalled() const;
    [[nodiscard]] const std::string& uid() const { return source.uid; }
    /// What comes; once it is running.
    [[nodiscard]] AudioFormat format() const { return source.format; }
    /// The library's number for the failure.
    [[nodiscard]] int error() const { return reason; }

private:
    struct Callbacks;
    void connect(std::size_t fragment);
    void changeState();
    void read();
    void deliver(const float* samples, std::size_t frames);
    bool knowsTime(SteadyInstant arrival, SteadyInstant begin);
    void hand(SteadyInstant end);

    PulseServer& server;
    Source source;
    const Receiver& receiver;
    pa_stream* stream = nullptr;
    bool gap;
    int reason = 0;
    std::atomic<State> current = State::opening;
    std::atomic<SteadyInstant> heard;

    // On the loop.
    std::vector<float> waiting; // sound that the receiver has not got yet
    std::optional<SteadyInstant> firstArrival;
    SteadyInstant supposedBegin; // of the stream's sound
    SteadyInstant supposedSince;
    bool isTimeKnown = false;
};

} // namespace tavrin
