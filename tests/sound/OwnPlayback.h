#pragma once

#include <atomic>
#include <thread>

namespace tavrin {

/// A tone that this very process plays, on the default speaker, until it is destroyed.
class OwnPlayback final {
public:
    OwnPlayback(double frequency, double amplitude);
    ~OwnPlayback();
    OwnPlayback(const OwnPlayback&) = delete;
    OwnPlayback& operator=(const OwnPlayback&) = delete;

    [[nodiscard]] bool isPlaying() const { return playing; }

private:
    void play(double frequency, double amplitude);

    std::atomic<bool> playing = false, isEnding = false;
    std::thread thread;
};

} // namespace tavrin
