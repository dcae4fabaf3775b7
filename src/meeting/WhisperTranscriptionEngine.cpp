#include "meeting/WhisperTranscriptionEngine.h"

#include "meeting/BritishSpelling.h"
#include "meeting/EnglishSpellingPreference.h"
#include "meeting/TranscriptionSpeechLanguage.h"
#include "meeting/WhisperTranscriptionError.h"
#include "meeting/WindowedTranscription.h"
#include "support/async/RunOn.h"
#include "support/text/Unicode.h"

#include <utility>

namespace tavrin {

namespace {

using Language = TranscriptionSpeechLanguage;

/// What a transcription is to do, as settled when it was asked for.
struct Request {
    std::vector<float> samples;
    Language language = Language::english;
    EnglishSpellingPreference spelling = EnglishSpellingPreference::british;
    bool suppressBlank = false;
    float noSpeechThreshold = 0;
    bool withWords = false;
};

constexpr float usualNoSpeechThreshold = 0.6F;

DecodingOptions decodingOptions(const Request& request, bool isMultilingual) {
    const bool detects = isMultilingual && request.language == Language::automatic;
    const auto language = isMultilingual && !detects ? request.language : Language::english;
    return {.task = DecodingTask::transcribe,
            .language = std::string(rawValue(language)),
            .temperature = 0.0F,
            .temperatureIncrementOnFallback = 0.2F,
            .temperatureFallbackCount = 5,
            .topK = 5,
            .usePrefillPrompt = true,
            .usePrefillCache = true,
            .detectLanguage = detects,
            .wordTimestamps = request.withWords,
            .windowClipTime = 1.0F,
            .suppressBlank = request.suppressBlank,
            .compressionRatioThreshold = 2.4F,
            .logProbThreshold = -1.0F,
            .firstTokenLogProbThreshold = -1.5F,
            .noSpeechThreshold = request.noSpeechThreshold};
}

std::string transcribeRequest(SpeechPipeline& pipeline, const Request& request, const std::stop_token& stop) {
    const SpeechModels& models = pipeline.models();
    const DecodingOptions options = decodingOptions(request, models.config.isMultilingual);
    const auto goesOn = [&](const TranscriptionProgress&) { return std::optional(!stop.stop_requested()); };
    return transcribeInWindows(request.samples, [&](std::span<const float> window) {
        std::string text;
        if (stop.stop_requested() || !models.hearsSpeech(window)) return text;
        for (const auto& result : pipeline.transcribe(window, options, goesOn))
            for (const auto& segment : result.segments)
                text += segment.text;
        return text;
    });
}

std::string spelled(std::string_view text, const Request& request) {
    return applySpellingPreference(text, request.language, request.spelling);
}

/// One window with its words.
ChunkText transcribeChunk(SpeechPipeline& pipeline, const Request& request, const std::stop_token& stop) {
    ChunkText said;
    const SpeechModels& models = pipeline.models();
    if (stop.stop_requested() || !models.hearsSpeech(request.samples)) return said;
    const auto goesOn = [&](const TranscriptionProgress&) { return std::optional(!stop.stop_requested()); };
    for (const auto& result :
         pipeline.transcribe(request.samples, decodingOptions(request, models.config.isMultilingual), goesOn))
        for (const auto& segment : result.segments) {
            said.text += segment.text;
            for (const WordTiming& word : segment.words.value_or(std::vector<WordTiming>()))
                said.words.push_back({.text = spelled(word.word, request), .start = word.start, .end = word.end});
        }
    said.text = spelled(trimmed(said.text), request);
    return said;
}

} // namespace

WhisperTranscriptionEngine::WhisperTranscriptionEngine(Options options, Dependencies dependencies)
    : use(std::move(dependencies)),
      pipeline(std::make_shared<RecoveringPipeline>(std::move(options), use.models, use.cacheGuard)) {}

Task<void> WhisperTranscriptionEngine::ensureLoaded() {
    expectCurrent(use.main);
    if (isLoaded()) co_return;
    auto folder = use.resolveModelFolder();
    if (!folder) throw WhisperTranscriptionError(WhisperTranscriptionError::Reason::notInstalled);
    co_await runOn(use.worker, [shared = pipeline, path = *std::move(folder)](const std::stop_token&) {
        shared->ensureLoaded(path);
    });
    // Nobody waits for this: words that come meanwhile would have to wait for the same.
    use.worker.post([shared = pipeline] { shared->prepare(); });
}

Task<ChunkText> WhisperTranscriptionEngine::transcribeWithWords(std::vector<float> samples, bool suppressBlank) {
    expectCurrent(use.main);
    Request request{.samples = std::move(samples),
                    .language = transcriptionSpeechLanguage(use.preferences),
                    .spelling = englishSpellingPreference(use.preferences),
                    .suppressBlank = suppressBlank,
                    .noSpeechThreshold = usualNoSpeechThreshold,
                    .withWords = true};
    auto work = [shared = pipeline, request = std::move(request)](const std::stop_token& stop) {
        ChunkText said;
        shared->perform(
            [&](SpeechPipeline& loaded) {
                said = transcribeChunk(loaded, request, stop);
                return said.text;
            },
            stop);
        return said;
    };
    co_return co_await runOn(use.worker, std::move(work));
}

Task<std::string> WhisperTranscriptionEngine::transcribe(std::vector<float> samples, bool suppressBlank,
                                                         std::optional<float> noSpeechThreshold) {
    expectCurrent(use.main);
    Request request{.samples = std::move(samples),
                    .language = transcriptionSpeechLanguage(use.preferences),
                    .spelling = englishSpellingPreference(use.preferences),
                    .suppressBlank = suppressBlank,
                    .noSpeechThreshold = noSpeechThreshold.value_or(usualNoSpeechThreshold)};
    auto work = [shared = pipeline, request = std::move(request)](const std::stop_token& stop) {
        const auto transcribeWith = [&](SpeechPipeline& loaded) { return transcribeRequest(loaded, request, stop); };
        return spelled(shared->perform(transcribeWith, stop), request);
    };
    co_return co_await runOn(use.worker, std::move(work));
}

} // namespace tavrin
