#pragma once

#include "meeting/EchoSuppressor.h"
#include "meeting/MeLines.h"
#include "meeting/WhisperStreamProcessor.h"
#include "speech/SpeechModels.h"
#include "support/async/VirtualTime.h"

#include <span>
#include <vector>

namespace tavrin {

/// Transcribes a chunk at once, as a meeting's engine does: nothing where nobody speaks. The models outlive it.
Transcribe chunkTranscriber(const SpeechModels& models);

/// Both lanes of a meeting from samples to lines, on virtual time: chunks, engine, clean-up, echo guard; no devices and
/// no disk. The engine takes `engineTime` for each chunk.
class LiveLanes final {
public:
    static constexpr Duration engineTime = std::chrono::milliseconds(300);

    explicit LiveLanes(Transcribe transcribe);

    /// Plays 16 kHz samples into both, from the same moment on, and ends the meeting behind the longer one.
    void play(std::span<const float> me, std::span<const float> them);

    /// When the first sample was played.
    [[nodiscard]] Date begin() const { return began; }
    [[nodiscard]] const std::vector<TranscriptSegment>& lines() const { return *state.segments; }

private:
    using Lane = WhisperStreamProcessor;
    [[nodiscard]] Lane::Dependencies dependencies(bool mayHearEcho);
    [[nodiscard]] Lane::Callbacks callbacks(std::string_view label);

    VirtualTime time;
    const Date began = time.wallClock().now();
    const Transcribe transcribe;
    SessionState state{time.main()};
    OpenMeeting meeting;
    LiveTranscript transcript{{.main = time.main(), .background = time.addExecutor()}, state, meeting};
    Lane meLane;
    Lane themLane;
    MeLines meLines;
    EchoReference reference;
    EchoSuppressor suppressor{reference};
};

} // namespace tavrin
