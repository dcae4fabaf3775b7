#pragma once

#include "platform/SystemAudioTap.h"
#include "platform/linux/PipeWireBlocks.h"
#include "support/time/Time.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>

namespace tavrin {

class PipeWireCapture;

/// Records what every other program plays, from a node of our own that all playback streams are linked to. It hears
/// them whatever speaker they go to, however loud that is set, and gives silence while nothing plays.
///
/// It builds everything anew, every second if need be, after the server went, or gave nothing for 2.5 seconds.
/// Thread: one at a time. The receiver is called on a thread of the tap's own; the real-time thread behind it is never
///         held up.
class PipeWireTap final {
public:
    PipeWireTap();
    PipeWireTap(const PipeWireTap&) = delete;
    PipeWireTap& operator=(const PipeWireTap&) = delete;
    ~PipeWireTap();

    /// Throws SystemAudioTapError within two seconds, with nothing left open.
    AudioFormat start(SystemAudioTap::Callback receiver);
    void stop();

private:
    class Loop;

    void open();
    void check();
    void drain();

    PipeWireBlocks blocks;
    std::unique_ptr<Loop> loop;
    // The loop's thread, or holding its lock.
    SystemAudioTap::Callback receiver;
    std::unique_ptr<PipeWireCapture> capture;
    SteadyInstant heard; ///< or opened
    bool followsReopening = false;
    // between that thread and who starts
    std::mutex mutex;
    std::condition_variable begun;
    std::optional<AudioFormat> format;
};

} // namespace tavrin
