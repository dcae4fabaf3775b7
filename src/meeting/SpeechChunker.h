#pragma once

#include "meeting/EnergyVAD.h"
#include "meeting/MeetingEngineChoice.h"
#include "support/time/Clock.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// A stretch of speech on its way to the engine. Without samples it says that the speech before it, which was cut off
/// by force, ended there.
struct SpeechChunk {
    std::vector<float> samples;
    Date date; ///< when it was cut off
    /// Its first 250 ms were the end of the chunk before, which was cut off in the middle of speech.
    bool followsForcedCut = false;
    /// It ends in the middle of speech.
    bool endsInForcedCut = false;
    std::size_t index = 0;           ///< counts the chunks of a lane
    std::int64_t endSample = 0;      ///< of the lane, counted from the first that the chunker was given
    std::size_t trailingSilence = 0; ///< samples at its end below the gate
};

/// What makes one lane's chunks differ from another's. Lengths in samples.
struct LaneSettings {
    std::string speakerLabel;
    std::size_t minChunkSamples;
    std::size_t minFlushSamples;
    std::optional<std::size_t> forcedEmitSamples;
    float energyThreshold;
};

/// The microphone's gate sits higher, as a room has noise; the system's sound is clean, and quiet voices shall pass.
LaneSettings meLaneSettings(MeetingEngine engine);
LaneSettings themLaneSettings(MeetingEngine engine);

/// Cuts one lane's endless sound into chunks of speech: at silence, or by force where nobody pauses.
///
/// Between two chunks 250 ms are repeated, so that a word across the cut survives. They are no speech of their own:
/// while nothing else follows them they wait for five frames of silence and are then dropped. Thread: none of its own.
/// Cost: one root mean square a frame of 100 ms.
class SpeechChunker final {
public:
    static constexpr std::size_t frameSamples = 1'600;
    static constexpr std::size_t maxChunkSamples = 128'000; // 8 s
    static constexpr std::size_t chunkOverlapSamples = 4'000;
    static constexpr std::size_t leastCutSamples = 16'000;
    static constexpr int silenceFramesThreshold = 5;

    /// `note` writes a line into the meeting's diagnostics, on the chunker's thread.
    SpeechChunker(LaneSettings settings, const WallClock& clock, std::function<void(std::string)> note);

    /// Gives the chunks that these samples complete.
    std::vector<SpeechChunk> append(std::span<const float> samples);

    /// Gives what is left of speech at the end of the lane; less than a frame is dropped.
    std::vector<SpeechChunk> flush();

    void clear();

    /// Samples that have not left in a chunk.
    [[nodiscard]] std::size_t bufferedSamples() const { return frameQueue.size() + speechBuffer.size(); }

private:
    void processFrames(std::vector<SpeechChunk>& chunks);
    void processFrame(std::span<const float> frame, std::vector<SpeechChunk>& chunks);
    void passCarry(std::vector<SpeechChunk>& chunks);
    void endForcedCut(std::vector<SpeechChunk>& chunks);
    void flushBuffer(std::vector<SpeechChunk>& chunks);
    enum class Cut : std::uint8_t { atSilence, inSpeech, atEnd };
    void cutChunk(Cut kind, std::optional<std::size_t> minimum, const char* reason, std::vector<SpeechChunk>& chunks);

    // constant after construction
    const LaneSettings settings;
    const EnergyVAD vad;
    const WallClock& clock;
    const std::function<void(std::string)> note;

    // state
    std::vector<float> frameQueue;
    std::vector<float> speechBuffer;
    int silenceFrames = 0;
    bool holdsCarryOnly = false;
    bool carryOfForcedCut = false;
    std::size_t chunkCount = 0;
    std::int64_t framedSamples = 0; // in all
};

} // namespace tavrin
