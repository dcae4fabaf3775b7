#include "speech/SpeechPipeline.h"

#include "speech/ChunkedTranscriber.h"
#include "speech/SpeechError.h"

#include <algorithm>
#include <thread>

namespace tavrin {

SpeechPipeline::SpeechPipeline(SpeechPipelineConfig wanted, SpeechModelCache& models,
                               std::function<void(ModelState)> stateCallback)
    : config(std::move(wanted)), cache(models), modelStateCallback(std::move(stateCallback)) {
    if (config.load) loadModels();
}

void SpeechPipeline::setState(ModelState next) {
    state = next;
    if (modelStateCallback) modelStateCallback(next);
}

void SpeechPipeline::loadModels() {
    if (loaded) return;
    if (config.modelFolder.empty()) throw SpeechError("Model folder is not set.");
    setState(ModelState::loading);
    try {
        loaded = cache.load(config.modelFolder, config.threads);
        if (config.prewarm) {
            setState(ModelState::prewarming);
            prewarm();
        }
    } catch (...) {
        loaded.reset();
        setState(ModelState::unloaded);
        throw;
    }
    setState(ModelState::loaded);
}

void SpeechPipeline::prepare() const {
    models().audioEncoder.prepareSilence(models().featureExtractor.melBands());
}

void SpeechPipeline::prewarm() const {
    prepare();
    const std::vector<float> silence(FeatureExtractor::windowSamples() / 30, 0.0F);
    DecodingOptions options;
    options.noSpeechThreshold.reset();
    options.sampleLength = 1;
    options.temperatureFallbackCount = 0;
    (void)TranscribeTask(*loaded).run(silence, options);
}

const SpeechModels& SpeechPipeline::models() const {
    if (!loaded) throw SpeechError("Tokenizer is unavailable");
    return *loaded;
}

std::vector<TranscriptionResult> SpeechPipeline::transcribe(std::span<const float> audioArray,
                                                            const DecodingOptions& decodeOptions,
                                                            const TranscriptionCallback& callback) {
    std::vector<TranscriptionResult> results;
    DecodingOptions options = decodeOptions;
    options.verbose |= config.verbose;
    if (options.chunkingStrategy == ChunkingStrategy::vad) {
        if (audioArray.empty()) throw SpeechError("Audio samples are nil");
        const auto processors = std::max(1, static_cast<int>(std::thread::hardware_concurrency()) / config.threads);
        const int workers = std::clamp(options.concurrentWorkerCount, 1, processors);
        walked.total += audioArray.size();
        auto rest = audioArray;
        ChunkedTranscriber(models(), options, static_cast<std::size_t>(workers))
            .run(
                [&](std::span<float> block) {
                    const std::size_t count = std::min(block.size(), rest.size());
                    std::copy_n(rest.begin(), count, block.begin());
                    rest = rest.subspan(count);
                    walked.completed += count;
                    return count;
                },
                [&](const TranscriptionResult& result) {
                    if (segmentDiscoveryCallback && !result.segments.empty()) segmentDiscoveryCallback(result.segments);
                    results.push_back(result);
                    return true;
                },
                callback);
    } else {
        TranscribeTask task(models(), &walked);
        task.segmentDiscoveryCallback = segmentDiscoveryCallback;
        results.push_back(task.run(audioArray, options, callback));
    }
    TranscriptionTimings sum = models().loadTimings;
    for (const auto& result : results)
        sum.add(result.timings);
    const std::lock_guard guard(timingsLock);
    timings = sum;
    return results;
}

DecodingResult SpeechPipeline::detectLanguage(std::span<const float> audioArray) const {
    if (audioArray.empty()) throw SpeechError("Audio samples are nil");
    const auto& m = models();
    if (!m.textDecoder.isModelMultilingual()) throw SpeechError("Language detection not supported for this model");
    const auto window = audioArray.first(std::min(audioArray.size(), FeatureExtractor::windowSamples()));
    const std::size_t frames = m.audioEncoder.framesFor(window.size(), true);
    const auto features = m.featureExtractor.logMel(window, frames);
    return m.textDecoder.detectLanguage(m.audioEncoder.encode(features, m.featureExtractor.melBands(), frames));
}

TranscriptionTimings SpeechPipeline::currentTimings() const {
    const std::lock_guard guard(timingsLock);
    return timings;
}

} // namespace tavrin
