#include "meeting/WhisperStreamProcessor.h"

#include "meeting/PcmSamples.h"
#include "support/async/RunOn.h"
#include "support/log/Log.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <utility>

namespace tavrin {

namespace {
constexpr Logger log{"WhisperStreamProcessor"};

/// What waits in a quiet lane: the end of the last chunk, and less than a frame.
constexpr auto quietSamples =
    static_cast<std::int64_t>(SpeechChunker::chunkOverlapSamples + SpeechChunker::frameSamples);

/// Other chunks only say that speech has ended.
bool holdsSound(const SpeechChunk& chunk) {
    return !chunk.samples.empty();
}
} // namespace

/// The half that works on the lane's executor.
class WhisperStreamProcessor::Lane final : public std::enable_shared_from_this<Lane> {
public:
    Lane(LaneSettings settings, const Dependencies& dependencies, WhisperStreamProcessor& processor)
        : main(dependencies.main), executor(dependencies.lane),
          chunker(std::move(settings), dependencies.clock, dependencies.note), owner(&processor) {}

    // any thread

    void append(std::span<const std::byte> pcm) {
        if (isEnded) return;
        std::vector<float> samples = samplesOfPcm(pcm);
        waiting += static_cast<std::int64_t>(samples.size());
        executor.post([self = shared_from_this(), samples = std::move(samples)] { self->take(samples); });
    }

    [[nodiscard]] std::int64_t bufferedSamples() const { return waiting + buffered; }

    // main executor

    Task<std::vector<SpeechChunk>> flush() {
        return runOn(executor, [self = shared_from_this()](const std::stop_token&) {
            auto chunks = self->chunker.flush();
            self->chunker.clear();
            self->buffered = 0;
            return chunks;
        });
    }

    void end() {
        isEnded = true;
        owner = nullptr;
        executor.post([self = shared_from_this()] { self->chunker.clear(); });
    }

private:
    // the lane's executor

    void take(std::span<const float> samples) {
        waiting -= static_cast<std::int64_t>(samples.size());
        if (isEnded) return;
        auto chunks = chunker.append(samples);
        buffered = static_cast<std::int64_t>(chunker.bufferedSamples());
        for (SpeechChunk& chunk : chunks)
            main.post([self = shared_from_this(), cut = std::move(chunk)]() mutable {
                if (self->owner != nullptr) self->owner->enqueue(std::move(cut));
            });
    }

    Executor& main;
    Executor& executor;
    SpeechChunker chunker;
    WhisperStreamProcessor* owner; // main executor
    std::atomic<bool> isEnded = false;
    std::atomic<std::int64_t> waiting = 0;
    std::atomic<std::int64_t> buffered = 0;
};

WhisperStreamProcessor::WhisperStreamProcessor(LaneSettings settings, Dependencies dependencies, Callbacks hooks)
    : speakerLabel(settings.speakerLabel), use(std::move(dependencies)), callbacks(std::move(hooks)),
      lane(std::make_shared<Lane>(std::move(settings), use, *this)), tasks(use.main) {
    workerIdle.set();
}

WhisperStreamProcessor::~WhisperStreamProcessor() {
    cancel();
}

WhisperStreamProcessor::Inlet WhisperStreamProcessor::inlet() const {
    return [shared = lane](std::span<const std::byte> pcm) { shared->append(pcm); };
}

std::int64_t WhisperStreamProcessor::pendingSampleCount() const {
    expectCurrent(use.main);
    if (isCancelled) return 0;
    std::int64_t pending = lane->bufferedSamples() + static_cast<std::int64_t>(pendingChunkSamples);
    if (inFlight >= 1) pending += std::max<std::int64_t>(0, submittedSamples - completedSamples - droppedSamples);
    return pending;
}

bool WhisperStreamProcessor::mayFollow(Date date) const {
    return (!heardUpTo || *heardUpTo < date) && pendingSampleCount() > quietSamples;
}

Task<void> WhisperStreamProcessor::flushForFinish() {
    for (SpeechChunk& chunk : co_await lane->flush())
        enqueue(std::move(chunk));
    co_await workerIdle.wait();
}

void WhisperStreamProcessor::cancel() {
    if (std::exchange(isCancelled, true)) return;
    lane->end();
    tasks.clear();
    pendingChunks.clear();
    pendingChunkSamples = 0;
    inFlight = 0;
    workerIdle.set();
}

void WhisperStreamProcessor::enqueue(SpeechChunk chunk) {
    if (isCancelled) return;
    const std::size_t samples = chunk.samples.size();
    const auto waiting = static_cast<std::size_t>(std::ranges::count_if(pendingChunks, holdsSound));
    if (samples > 0 && (waiting >= maxPendingChunks || pendingChunkSamples + samples > maxPendingSamples)) {
        if (waiting == 0) {
            droppedSamples += static_cast<std::int64_t>(samples);
            use.note(fmt::format("live_chunk_dropped label={} reason=backlog_cap_immediate samples={} droppedTotal={}",
                                 speakerLabel, samples, droppedSamples));
            return;
        }
        dropOldest();
    }
    submittedSamples += static_cast<std::int64_t>(samples);
    pendingChunkSamples += samples;
    pendingChunks.push_back(std::move(chunk));
    startWorker();
}

void WhisperStreamProcessor::dropOldest() {
    while (!holdsSound(pendingChunks.front()))
        pendingChunks.pop_front(); // the end of what was dropped before
    const std::size_t samples = pendingChunks.front().samples.size();
    pendingChunks.pop_front();
    pendingChunkSamples -= samples;
    droppedSamples += static_cast<std::int64_t>(samples);
    use.note(fmt::format("live_chunk_dropped label={} reason=backlog_cap pending={} samples={} droppedTotal={}",
                         speakerLabel, pendingChunks.size(), samples, droppedSamples));
}

void WhisperStreamProcessor::startWorker() {
    if (std::exchange(isWorking, true)) return;
    workerIdle.reset();
    tasks.spawn(work());
}

Task<void> WhisperStreamProcessor::work() {
    while (!pendingChunks.empty()) {
        SpeechChunk chunk = std::move(pendingChunks.front());
        pendingChunks.pop_front();
        pendingChunkSamples -= chunk.samples.size();
        const Date end = chunk.date;
        ++inFlight;
        co_await transcribeOne(std::move(chunk));
        --inFlight;
        heardUpTo = end;
    }
    isWorking = false;
    workerIdle.set();
}

Task<void> WhisperStreamProcessor::transcribeOne(SpeechChunk chunk) {
    const auto samples = static_cast<std::int64_t>(chunk.samples.size());
    if (use.silenceEcho) use.silenceEcho(chunk);
    const std::vector<float> hearing = mender.begin(chunk);
    if (hearing.empty() && !mender.holdsWords()) co_return;
    if (callbacks.onTranscriptionStarted) callbacks.onTranscriptionStarted();
    std::string text = co_await textOf(chunk, hearing);
    const bool isWanted = text.empty() || callbacks.onResult(std::move(text), chunk);
    if (isWanted) completedSamples += samples;
    if (callbacks.onTranscriptionFinished) callbacks.onTranscriptionFinished();
}

Task<std::string> WhisperStreamProcessor::textOf(const SpeechChunk& chunk, const std::vector<float>& samples) {
    try {
        ChunkText heard;
        if (!samples.empty()) heard = co_await use.transcribe(samples, chunk.endsInForcedCut);
        co_return mender.end(chunk, samples, heard);
    } catch (const std::exception& error) {
        log.error("Transcription chunk failed ({}): {}", speakerLabel, error.what());
        if (callbacks.onError) callbacks.onError(error.what());
    }
    co_return mender.giveUp();
}

} // namespace tavrin
