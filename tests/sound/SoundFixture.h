#pragma once

#include "platform/AudioBuffer.h"
#include "platform/linux/PulseServer.h"
#include "support/time/Time.h"

#include <gtest/gtest.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {

using namespace std::chrono_literals;

/// Calls functions of the private sound services that the script around these tests has started.
/// Fails the test if one fails.
void services(const std::string& call);
bool isPipeWire();

/// A minute of tones as a file; one amplitude and frequency a channel.
struct Tone {
    double frequency = 0, amplitude = 0;
};
std::string toneFile(Tone left, Tone right);
/// A click after a second of silence, the same in both channels.
std::string clickFile();

/// Plays in another process until it is destroyed.
class Player final {
public:
    /// `call` is a function of the services that plays.
    explicit Player(const std::string& call);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

private:
    pid_t process;
};

/// Collects what a tap gives. Its take() may be called until no one calls it.
class Recorder final {
public:
    void take(const AudioBuffer& buffer);

    /// Waits until the last 0.2 s, all of it recorded after this call, hold the tone at this amplitude, within a
    /// tenth, in one channel.
    [[nodiscard]] bool hears(Tone tone, std::size_t channel, Duration limit = 6s);
    /// The greatest amplitude of this frequency in any 0.2 s of what comes within `time`, in one channel or in any.
    [[nodiscard]] double loudest(double frequency, Duration time, std::optional<std::size_t> channel = std::nullopt);
    [[nodiscard]] bool waitForBuffers(std::size_t more, Duration limit = 6s);
    /// Waits until a buffer after this call follows a gap.
    [[nodiscard]] bool waitForGap(Duration limit);

    struct Piece {
        AudioFormat format;
        std::vector<float> samples;
        SteadyInstant end, arrival;
        bool followsGap = false;
    };
    [[nodiscard]] std::vector<Piece> pieces() const;

private:
    [[nodiscard]] std::vector<float> channelSince(std::size_t firstPiece, std::size_t channel, double& rate) const;

    mutable std::mutex mutex;
    std::condition_variable arrived;
    std::vector<Piece> taken;
};

/// Waits for what no one tells, looking every 20 ms.
bool eventually(Duration limit, const std::function<bool()>& condition);
double secondsFor(const std::function<void()>& work);

/// The services with tavrin_speaker and tavrin_microphone as defaults and nothing else, and a connection to them.
class SoundTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    PulseServer server;
};

} // namespace tavrin
