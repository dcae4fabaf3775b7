#pragma once

#include "meeting/CutMender.h"
#include "meeting/MeetingEngines.h"
#include "meeting/SpeechChunker.h"
#include "support/async/Event.h"
#include "support/async/Executor.h"
#include "support/async/TaskScope.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// Turns one lane's sound into texts, while the lane is live: chunks of speech go to the engine one at a time, in
/// order.
///
/// When the engine is slower than the speech, the oldest waiting audio is dropped rather than that the text falls ever
/// further behind; it is in the archive.
/// Threads:  main executor, but for inlet(), which is called on a capture queue. Frames are looked at on the lane's own
///           executor, so that neither waits for the other.
/// Lifetime: dependencies outlive it; what the lane's executor still does may end after it.
/// Errors:   a chunk on which the engine fails costs that chunk.
class WhisperStreamProcessor final {
public:
    struct Callbacks {
        std::function<void()> onTranscriptionStarted;
        /// After each chunk, however it ended.
        std::function<void()> onTranscriptionFinished;
        /// The error's text. May be empty.
        std::function<void(std::string)> onError;
        /// A text that is not empty, without words that the lane gave before. False: nobody wants it any more, and its
        /// audio counts as not transcribed.
        std::function<bool(std::string text, const SpeechChunk& chunk)> onResult;
    };
    struct Dependencies {
        Executor& main;
        Executor& lane;
        const WallClock& clock;
        Transcribe transcribe;
        /// Writes a line into the meeting's diagnostics; from any thread.
        std::function<void(std::string)> note;
        /// Makes silent what is not this lane's own in a chunk, before the engine hears it; on main. May be empty.
        std::function<void(SpeechChunk&)> silenceEcho{};
    };
    /// Takes signed 16-bit little-endian samples. Any one thread at a time; copies and returns.
    using Inlet = std::function<void(std::span<const std::byte>)>;

    static constexpr std::size_t maxPendingChunks = 8;
    static constexpr std::size_t maxPendingSamples = 720'000; // 45 s

    WhisperStreamProcessor(LaneSettings settings, Dependencies dependencies, Callbacks callbacks);
    WhisperStreamProcessor(const WhisperStreamProcessor&) = delete;
    WhisperStreamProcessor& operator=(const WhisperStreamProcessor&) = delete;
    ~WhisperStreamProcessor();

    /// Where the lane's sound goes in. May be called after the processor's end, to no effect.
    [[nodiscard]] Inlet inlet() const;

    /// Samples that wait to be transcribed. Chunks that wait count twice while another is in the engine: the figure
    /// leans high under load.
    [[nodiscard]] std::int64_t pendingSampleCount() const;
    /// Samples transcribed so far, those that were found to be without speech included.
    [[nodiscard]] std::int64_t completedSampleCount() const { return completedSamples; }
    [[nodiscard]] std::int64_t droppedSampleCount() const { return droppedSamples; }

    /// Whether speech that ended before `date` may still become text.
    [[nodiscard]] bool mayFollow(Date date) const;

    /// Ends when all that was heard is transcribed. Nothing is to come in any more.
    Task<void> flushForFinish();

    /// Drops everything; nothing is told any more.
    void cancel();

private:
    class Lane;

    void enqueue(SpeechChunk chunk);
    Task<void> work();
    Task<void> transcribeOne(SpeechChunk chunk);
    /// What a chunk adds to the lane's text. Chunk and samples outlive the task.
    Task<std::string> textOf(const SpeechChunk& chunk, const std::vector<float>& samples);
    void startWorker();
    void dropOldest();

    // constant after construction
    const std::string speakerLabel;
    const Dependencies use;
    const Callbacks callbacks;
    std::shared_ptr<Lane> lane; // shared with the work on its executor

    // state, main executor
    std::deque<SpeechChunk> pendingChunks;
    std::size_t pendingChunkSamples = 0;
    int inFlight = 0;
    std::int64_t submittedSamples = 0;
    std::int64_t completedSamples = 0;
    std::int64_t droppedSamples = 0;
    std::optional<Date> heardUpTo; // date of the last chunk that is done
    CutMender mender;
    bool isCancelled = false;
    bool isWorking = false;
    Event workerIdle;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
