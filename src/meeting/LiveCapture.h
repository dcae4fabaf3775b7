#pragma once

#include "audio/DiagnosticsCaptureFrameCounter.h"
#include "audio/DiagnosticsLogger.h"
#include "audio/MixedAudioCaptureService.h"
#include "meeting/EchoSuppressor.h"
#include "meeting/LiveTranscript.h"
#include "meeting/MeLines.h"
#include "meeting/MeetingEngines.h"
#include "meeting/MicSilenceRule.h"
#include "meeting/WhisperModelService.h"
#include "meeting/WhisperStreamProcessor.h"

#include <cstdint>
#include <memory>

namespace tavrin {

/// The processors of a stretch of capture that has ended, with what they have not transcribed yet.
struct EndedLanes {
    std::unique_ptr<WhisperStreamProcessor> me;
    std::unique_ptr<WhisperStreamProcessor> them;
    LaneCounts base;            ///< sample 0 of each processor in its archive
    MeLines* meLines = nullptr; ///< lines of the Me lane that wait for the other side's; outlives the drain
};

/// One stretch of capture of a meeting, from the first sound to pause or stop.
///
/// Sound goes to the archive from the first callback; the models load meanwhile; then a processor is attached to each
/// lane at the sample where its archive stands. What a slow load left out is in the archive.
///
/// Thread:   main executor only (checked). Sound is handed on, on the capture queues, by what was wired.
/// Stale:    `captureGeneration` counts up at each start and end; a load that ends after that leaves everything alone.
/// Lifetime: dependencies, state, meeting and transcript outlive it.
class LiveCapture final {
public:
    struct Dependencies {
        Executor& main;
        Executor& meLane;
        Executor& themLane;
        const WallClock& clock;
        MixedAudioCaptureService& mixedCapture;
        MeetingEngines& engines;
        WhisperModelService& models;
        DiagnosticsLogger& diagnostics;
    };

    LiveCapture(Dependencies dependencies, SessionState& state, OpenMeeting& meeting, LiveTranscript& transcript);
    ~LiveCapture();

    /// How a start ended: the lanes are live; it failed, and nothing is captured (the status or a sheet tells why); or
    /// something newer has the say, and all belongs to that.
    enum class Started : std::uint8_t { live, failed, superseded };

    /// Begins to record, loads what is needed and goes live.
    Task<Started> startLiveCapture(bool clearInterim);

    /// A start is on its way and has no device yet.
    [[nodiscard]] bool isOpening() const { return opening; }

    /// Ends capture, or a start that is on its way, and gives what is to be drained. Nothing comes from the capture
    /// queues any more.
    EndedLanes end();

    void resetMeters();

    /// What the lanes have transcribed so far.
    [[nodiscard]] LaneCounts transcribedSamples() const;

    void refreshBacklog();

    void clearFrameCounters();

private:
    // The steps of a start.
    void resetLanes();
    void wireMeters();
    void wireArchive();
    Task<Started> startCapture(std::uint64_t generation);
    void tellWhatIsCaptured();
    void tellLoading();
    Task<Started> loadEngines(std::uint64_t generation);
    void attach();
    void wireLive();
    void tellLive();
    struct LaneArchives {
        std::shared_ptr<PcmArchive> me;
        std::shared_ptr<PcmArchive> them;
    };
    /// Both or none.
    [[nodiscard]] LaneArchives openArchives() const;
    /// What a lane's sound goes through: the count, its file, and its processor where there is one already.
    WhisperStreamProcessor::Inlet chunkSink(std::shared_ptr<PcmArchive> archive,
                                            DiagnosticsCaptureFrameCounter& counter,
                                            WhisperStreamProcessor::Inlet live = {});
    Started failStart(const std::exception& error, std::uint64_t generation);

    [[nodiscard]] std::unique_ptr<WhisperStreamProcessor> meLaneProcessor();
    [[nodiscard]] std::unique_ptr<WhisperStreamProcessor> themLaneProcessor();
    [[nodiscard]] WhisperStreamProcessor::Dependencies laneDependencies(Executor& lane, Transcribe transcribe);
    [[nodiscard]] bool themMayFollow(Date date) const;
    void noteResult(const std::string& text, const char* label, const SpeechChunk& chunk);
    void transcriptionFinished();

    Task<void> tick(std::uint64_t generation);
    Task<void> refreshBacklogEverySecond();
    void micLevel(float level);
    void systemLevel(float level);
    void appendMicrophoneQuiet();
    Task<void> remountSilentMicrophone();

    const Dependencies use;
    SessionState& state;
    OpenMeeting& meeting;
    LiveTranscript& transcript;
    MeLines meLines;

    // state, main executor
    std::uint64_t captureGeneration = 0;
    bool opening = false; // of this generation
    std::unique_ptr<WhisperStreamProcessor> meProcessor;
    std::unique_ptr<WhisperStreamProcessor> themProcessor;
    std::shared_ptr<EchoReference> echoReference; // the lane's thread holds it too
    std::unique_ptr<EchoSuppressor> echoSuppressor;
    LaneCounts pcmBaseSampleOffset;
    MicSilenceRule silenceRule;
    DiagnosticsCaptureFrameCounter diagnosticsMicFrameCounter;
    DiagnosticsCaptureFrameCounter diagnosticsThemFrameCounter;
    std::shared_ptr<bool> isAlive = std::make_shared<bool>(true); // for what the capture queues post
    TaskHandle loadTicker;
    TaskHandle backlogRefreshTask;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
