#include "meeting/SpeechChunker.h"

#include "audio/PcmFormat.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace tavrin {

namespace {

LaneSettings settingsFor(std::string label, MeetingEngine engine, float thresholdOnSmall, float thresholdOnLarge) {
    if (engine == MeetingEngine::large)
        return {.speakerLabel = std::move(label),
                .minChunkSamples = 64'000,
                .minFlushSamples = 32'000,
                .forcedEmitSamples = 160'000,
                .energyThreshold = thresholdOnLarge};
    return {.speakerLabel = std::move(label),
            .minChunkSamples = 12'000,
            .minFlushSamples = 4'000,
            .forcedEmitSamples = 48'000,
            .energyThreshold = thresholdOnSmall};
}

} // namespace

LaneSettings meLaneSettings(MeetingEngine engine) {
    return settingsFor("Me", engine, 0.007F, 0.012F);
}

LaneSettings themLaneSettings(MeetingEngine engine) {
    return settingsFor("Them", engine, 0.004F, 0.004F);
}

SpeechChunker::SpeechChunker(LaneSettings laneSettings, const WallClock& wallClock,
                             std::function<void(std::string)> diagnostics)
    : settings(std::move(laneSettings)), vad(settings.energyThreshold), clock(wallClock), note(std::move(diagnostics)) {
}

std::vector<SpeechChunk> SpeechChunker::append(std::span<const float> samples) {
    frameQueue.insert(frameQueue.end(), samples.begin(), samples.end());
    std::vector<SpeechChunk> chunks;
    processFrames(chunks);
    return chunks;
}

std::vector<SpeechChunk> SpeechChunker::flush() {
    std::vector<SpeechChunk> chunks;
    flushBuffer(chunks);
    processFrames(chunks);
    flushBuffer(chunks);
    return chunks;
}

void SpeechChunker::clear() {
    frameQueue.clear();
    speechBuffer.clear();
    silenceFrames = 0;
    holdsCarryOnly = false;
    carryOfForcedCut = false;
}

void SpeechChunker::processFrames(std::vector<SpeechChunk>& chunks) {
    std::size_t done = 0;
    for (; frameQueue.size() - done >= frameSamples; done += frameSamples)
        processFrame(std::span(frameQueue).subspan(done, frameSamples), chunks);
    frameQueue.erase(frameQueue.begin(), frameQueue.begin() + static_cast<std::ptrdiff_t>(done));
}

void SpeechChunker::processFrame(std::span<const float> frame, std::vector<SpeechChunk>& chunks) {
    framedSamples += frameSamples;
    const bool isSpeech = settings.energyThreshold <= rootMeanSquare(frame);
    if (isSpeech) {
        speechBuffer.insert(speechBuffer.end(), frame.begin(), frame.end());
        silenceFrames = 0;
        holdsCarryOnly = false;
    } else if (holdsCarryOnly) {
        passCarry(chunks);
    } else if (!speechBuffer.empty()) {
        // Silence behind speech stays: it gives the decoder an ending.
        speechBuffer.insert(speechBuffer.end(), frame.begin(), frame.end());
        ++silenceFrames;
        if (silenceFrames >= silenceFramesThreshold && speechBuffer.size() >= settings.minChunkSamples)
            cutChunk(Cut::atSilence, std::nullopt, "silence_triggered", chunks);
    }
    if (speechBuffer.size() >= maxChunkSamples)
        cutChunk(Cut::inSpeech, std::nullopt, "max_length", chunks);
    else if (settings.forcedEmitSamples && speechBuffer.size() >= *settings.forcedEmitSamples)
        cutChunk(Cut::inSpeech, settings.minChunkSamples, "forced_emit_threshold", chunks);
}

void SpeechChunker::passCarry(std::vector<SpeechChunk>& chunks) {
    if (++silenceFrames < silenceFramesThreshold) return;
    speechBuffer.clear();
    silenceFrames = 0;
    holdsCarryOnly = false;
    endForcedCut(chunks);
}

/// Nothing follows the chunk that was cut off by force.
void SpeechChunker::endForcedCut(std::vector<SpeechChunk>& chunks) {
    if (!std::exchange(carryOfForcedCut, false)) return;
    chunks.push_back({.samples = {}, .date = clock.now(), .followsForcedCut = true, .index = chunkCount++});
}

void SpeechChunker::flushBuffer(std::vector<SpeechChunk>& chunks) {
    if (holdsCarryOnly) return endForcedCut(chunks);
    if (speechBuffer.size() >= settings.minFlushSamples)
        cutChunk(Cut::atEnd, settings.minFlushSamples, "finish_flush", chunks);
    else if (speechBuffer.size() >= frameSamples)
        cutChunk(Cut::atEnd, speechBuffer.size(), "finish_flush_remainder", chunks);
}

void SpeechChunker::cutChunk(Cut kind, std::optional<std::size_t> minimum, const char* reason,
                             std::vector<SpeechChunk>& chunks) {
    const std::size_t required = minimum.value_or(leastCutSamples);
    const bool force = kind != Cut::atSilence;
    const std::size_t cut = force && speechBuffer.size() > maxChunkSamples
                                ? vad.findSplit(speechBuffer, maxChunkSamples)
                                : speechBuffer.size();
    if (cut < required) {
        if (!force) return;
        note(fmt::format("vad_forced_split_below_minimum label={} reason={} cutLength={} required={}",
                         settings.speakerLabel, reason, cut, required));
        speechBuffer.clear();
        silenceFrames = 0;
        return;
    }
    const auto end = speechBuffer.begin() + static_cast<std::ptrdiff_t>(cut);
    const std::size_t overlap = cut > chunkOverlapSamples ? chunkOverlapSamples : 0;
    const std::size_t left = speechBuffer.size() - cut;
    const std::size_t silence = static_cast<std::size_t>(silenceFrames) * frameSamples;
    chunks.push_back({.samples = std::vector<float>(speechBuffer.begin(), end),
                      .date = clock.now(),
                      .followsForcedCut = std::exchange(carryOfForcedCut, false),
                      .endsInForcedCut = kind == Cut::inSpeech,
                      .index = chunkCount++,
                      .endSample = framedSamples - static_cast<std::int64_t>(left),
                      .trailingSilence = silence - std::min(silence, left)});
    speechBuffer.erase(speechBuffer.begin(), end - static_cast<std::ptrdiff_t>(overlap));
    holdsCarryOnly = overlap != 0 && speechBuffer.size() == overlap;
    carryOfForcedCut = kind == Cut::inSpeech && overlap != 0;
    silenceFrames = 0;
    note(fmt::format("chunk_emit label={} reason={} samples={} durationSeconds={:.2f}", settings.speakerLabel, reason,
                     cut, static_cast<double>(cut) / pcmSampleRate));
}

} // namespace tavrin
