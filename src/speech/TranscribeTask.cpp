#include "speech/TranscribeTask.h"

#include "speech/SpeechAudio.h"
#include "speech/SpeechError.h"
#include "support/log/Log.h"

#include <algorithm>
#include <cmath>

namespace tavrin {

namespace {

constexpr Logger logger{"SpeechPipeline"};

/// A text of the short context that is less sure than this is decoded again with the whole window. Four of forty
/// sentences lost a word to the short context; most of them stood below this, four fifths of all texts above.
constexpr float leastShortLogProb = -0.35F;

/// No one says more tokens than this; a decoder that does is in a loop.
std::size_t mostTokensFor(std::size_t samples) {
    return 20 + 8 * samples / speechSampleRate;
}

double secondsOf(std::size_t samples) {
    return static_cast<double>(samples) / speechSampleRate;
}

} // namespace

TranscribeTask::TranscribeTask(const SpeechModels& speechModels, WorkProgress* walked)
    : models(speechModels), progress(walked) {}

std::vector<TranscribeTask::Clip> TranscribeTask::seekClips(std::size_t samples, const DecodingOptions& options) {
    if (options.clipTimestamps.empty()) return {{0, samples}};
    const auto position = [&](float seconds) {
        const double place = std::max(0.0, static_cast<double>(seconds)) * speechSampleRate;
        return static_cast<std::size_t>(std::min(place, static_cast<double>(samples)));
    };
    std::vector<Clip> clips;
    for (std::size_t i = 0; i < options.clipTimestamps.size(); i += 2) {
        const bool hasEnd = i + 1 < options.clipTimestamps.size();
        clips.push_back(
            {position(options.clipTimestamps[i]), hasEnd ? position(options.clipTimestamps[i + 1]) : samples});
    }
    return clips;
}

TranscriptionResult TranscribeTask::run(std::span<const float> audio, const DecodingOptions& options,
                                        const TranscriptionCallback& callback) {
    if (audio.empty()) throw SpeechError("Audio samples are nil");
    timings = {.pipelineStart = steadySeconds(), .inputAudioSeconds = secondsOf(audio.size())};
    logger.debug("Starting pipeline at: {}", timings.pipelineStart);
    TranscriptionResult result;
    for (const Clip& clip : seekClips(audio.size(), options)) {
        logger.debug("Decoding seek clips: {} to {}", clip.begin, clip.end);
        if (clip.begin >= clip.end) continue;
        if (progress != nullptr) progress->total += clip.end - clip.begin;
        if (!walkClip(audio, clip, options, callback, result)) break;
    }
    for (const auto& segment : result.segments)
        result.text += segment.text;
    timings.fullPipeline = steadySeconds() - timings.pipelineStart;
    // The prompt is predicted in the decoder's initialisation.
    timings.decodingNonPrediction = timings.decodingInit + timings.decodingLoop - timings.decodingPredictions;
    result.timings = timings;
    return result;
}

bool TranscribeTask::walkClip(std::span<const float> audio, const Clip& clip, const DecodingOptions& options,
                              const TranscriptionCallback& callback, TranscriptionResult& result) {
    std::size_t seek = clip.begin;
    bool isStopped = false;
    const auto goesOn = [&] {
        if (isStopped || seek >= clip.end) return false;
        return seek == clip.begin || isRestWorthWalking(audio.subspan(seek, clip.end - seek), options);
    };
    while (goesOn()) {
        const std::size_t segmentSize = std::min(FeatureExtractor::windowSamples(), clip.end - seek);
        logger.debug("Decoding Window Size: {} ({:.2f} s)", seek, secondsOf(segmentSize));
        auto decoded = decodeWindow(audio.subspan(seek, segmentSize), options, callback);
        isStopped = decoded.isStopped;
        logger.debug("Completed window: {}", windowId);
        const StageTimer windowing(timings.decodingWindowing);
        const SegmentSeeker::Window window{seek, segmentSize, static_cast<int>(result.segments.size())};
        auto found = models.segmentSeeker.findSeekPointAndSegments(decoded, options, window);
        if (options.wordTimestamps) {
            const StageTimer timer(timings.decodingWordTimestamps);
            models.segmentSeeker.addWordTimestamps(found.segments, decoded, window);
            timings.totalTimestampAlignmentRuns += 1;
        }
        if (progress != nullptr) progress->completed += found.seek - seek;
        if (segmentDiscoveryCallback && !found.segments.empty()) segmentDiscoveryCallback(found.segments);
        std::ranges::move(found.segments, std::back_inserter(result.segments));
        if (result.language.empty()) result.language = decoded.language;
        timings.totalDecodingWindows += 1;
        seek = found.seek;
        ++windowId;
    }
    if (progress != nullptr) progress->completed += clip.end - std::min(seek, clip.end);
    result.seekTime = static_cast<float>(secondsOf(seek));
    return !isStopped;
}

bool TranscribeTask::isRestWorthWalking(std::span<const float> rest, const DecodingOptions& options) const {
    if (secondsOf(rest.size()) <= static_cast<double>(options.windowClipTime)) return false;
    // What the decoder left of a clip is mostly the pause at its end, which would only tempt it to invent words.
    return rest.size() >= FeatureExtractor::windowSamples() || models.hearsSpeech(rest);
}

EncodedWindow TranscribeTask::encode(std::span<const float> samples, bool shortContext) {
    const std::size_t frames = models.audioEncoder.framesFor(samples.size(), shortContext);
    std::vector<float> features;
    {
        const StageTimer timer(timings.logmels);
        features = models.featureExtractor.logMel(samples, frames);
        timings.totalLogmelRuns += 1;
    }
    const StageTimer timer(timings.encoding);
    timings.totalEncodingRuns += 1;
    return models.audioEncoder.encode(features, models.featureExtractor.melBands(), frames);
}

DecodingResult TranscribeTask::decodeWindow(std::span<const float> samples, const DecodingOptions& options,
                                            const TranscriptionCallback& callback) {
    const EncodedWindow window = encode(samples, options.shortContext);
    if (window.isShort) {
        auto inputs = models.textDecoder.prepareDecoderInputs(options);
        auto result = models.textDecoder.decodeText({window, windowId, mostTokensFor(samples.size())}, inputs,
                                                    options.temperature, options, nullptr, callback);
        timings.add(result.timings);
        const bool isDoubtful = result.avgLogProb < leastShortLogProb;
        if (result.isStopped || (!result.hitLimit && !isDoubtful && !result.fallback->needsFallback)) return result;
        // A short context makes the decoder loop or mishear now and then: the whole window comes before any higher
        // temperature.
        timings.totalDecodingFallbacks += 1;
        return decodeWithFallback(encode(samples, false), options, callback);
    }
    return decodeWithFallback(window, options, callback);
}

DecodingResult TranscribeTask::decodeWithFallback(const EncodedWindow& window, const DecodingOptions& options,
                                                  const TranscriptionCallback& callback) {
    auto inputs = models.textDecoder.prepareDecoderInputs(options);
    std::shared_ptr<const DecodingCache> cache;
    DecodingResult result;
    logger.debug("Decoding with temperatures {:.1f} and up to {} more, each {:.1f} above the last", options.temperature,
                 std::max(0, options.temperatureFallbackCount), options.temperatureIncrementOnFallback);
    for (int attempt = 0; attempt <= std::max(0, options.temperatureFallbackCount); ++attempt) {
        const float temperature =
            options.temperature + static_cast<float>(attempt) * options.temperatureIncrementOnFallback;
        logger.debug("Decoding Temperature: {:.1f}", temperature);
        const double begin = steadySeconds();
        result = models.textDecoder.decodeText(
            {window, windowId, static_cast<std::size_t>(std::max(0, options.sampleLength))}, inputs, temperature,
            options, cache, callback);
        timings.add(result.timings);
        if (attempt > 0) timings.decodingFallback += steadySeconds() - begin;
        if (!result.fallback->needsFallback || attempt == options.temperatureFallbackCount) break;
        timings.totalDecodingFallbacks += 1;
        if (options.usePrefillCache) cache = result.cache;
    }
    return result;
}

} // namespace tavrin
