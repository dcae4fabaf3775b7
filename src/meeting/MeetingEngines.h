#pragma once

#include "meeting/ChunkText.h"
#include "meeting/MeetingEngineChoice.h"
#include "support/async/Task.h"

#include <functional>
#include <vector>

namespace tavrin {

/// Turns a chunk of 16 kHz samples into its text. Main executor only.
using Transcribe = std::function<Task<ChunkText>(std::vector<float> samples, bool withWords)>;

/// The engine that a lane was given.
struct LaneEngine {
    MeetingEngine which;
    Transcribe transcribe;
};

/// What a meeting asks of the speech engines. Thread: main executor only.
class MeetingEngines {
public:
    virtual ~MeetingEngines() = default;

    [[nodiscard]] virtual bool isSmallEnInstalled() const = 0;
    [[nodiscard]] virtual bool smallEngineLoaded() const = 0;
    [[nodiscard]] virtual bool largeEngineLoaded() const = 0;

    /// Ends when there is an engine for a meeting. Throws what loading throws.
    virtual Task<void> ensureMeetingModelLoaded() = 0;
    /// Loads the Them lane's own engine, where there is one.
    virtual Task<void> ensureThemEngineLoaded() = 0;
    /// No background load begins any more, as a capture needs the machine.
    virtual void suspendBackgroundMeetingModelLoad() = 0;
    virtual void resumeBackgroundMeetingModelLoadAfterMeeting() = 0;

    /// The engines of lanes that go live now.
    [[nodiscard]] virtual LaneEngine laneEngineForMe() = 0;
    [[nodiscard]] virtual LaneEngine laneEngineForThem() = 0;
};

} // namespace tavrin
