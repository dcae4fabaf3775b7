#include "speech/TextDecoder.h"

#include "speech/CompressionRatio.h"
#include "speech/SpeechAudio.h"
#include "speech/SpeechError.h"
#include "support/log/Log.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tavrin {

namespace {

constexpr Logger logger{"TextDecoder"};

/// Half of the decoder's positions are for text said before.
constexpr std::size_t mostPromptTokens = 223;

float probabilityOf(std::span<const float> logits, int token) {
    return std::exp(logits[static_cast<std::size_t>(token)] - logSumExp(logits));
}

/// A line for each token of the prompt: where it stands, never what it is.
void logPrompt(const char* what, std::size_t tokens) {
    for (std::size_t index = 0; index < tokens; ++index)
        logger.debug("{} prompt tokenIndex: {}", what, index);
}

/// Keeps what the `count`-th token of a window says of its text; `sum` is that of all log probabilities so far.
void noteToken(DecodingResult& result, std::size_t count, float logProb, float sum) {
    result.avgLogProb = sum / static_cast<float>(count);
    if (count > 1) return;
    result.firstTokenLogProb = logProb;
    result.timings.firstTokenTime = steadySeconds();
    logger.debug("Found first token at: {}", result.timings.firstTokenTime);
}

} // namespace

DecodingFallback fallbackOf(const DecodingResult& result, const DecodingOptions& options) {
    if (options.firstTokenLogProbThreshold && result.firstTokenLogProb < *options.firstTokenLogProbThreshold)
        return {true, "firstTokenLogProbThreshold"};
    if (options.noSpeechThreshold && result.noSpeechProb > *options.noSpeechThreshold) return {false, "silence"};
    if (options.compressionRatioThreshold && result.compressionRatio > *options.compressionRatioThreshold)
        return {true, "compressionRatioThreshold"};
    if (options.logProbThreshold && result.avgLogProb < *options.logProbThreshold) return {true, "logProbThreshold"};
    return {};
}

TextDecoder::TextDecoder(std::shared_ptr<const ModelGraph> decoder, const ModelConfig& config, const Tokenizer& words,
                         const std::string& file)
    : graph(std::move(decoder)), tokenizer(words), multilingual(config.isMultilingual),
      features(DecoderFeatures::of(*graph, file)), shape(decoderShape(*graph, features, config.textPositions, file)) {
    if (shape.vocabulary != config.vocabulary || shape.layers != config.decoderLayers || shape.heads != config.heads)
        throw SpeechError(file + ": the decoder and config.json are of different variants");
    std::vector<int> languages;
    for (const auto& [code, token] : tokenizer.languageTokens())
        languages.push_back(token);
    languageLogitsFilter = std::make_unique<LanguageLogitsFilter>(std::move(languages), shape.vocabulary);
}

DecodingInputs TextDecoder::prepareDecoderInputs(const DecodingOptions& options) const {
    DecodingInputs inputs(shape);
    const auto& special = tokenizer.special();
    if (options.promptTokens && !options.promptTokens->empty()) {
        const auto& tokens = *options.promptTokens;
        inputs.initialPrompt.push_back(special.startOfPreviousToken);
        const std::size_t kept = std::min(tokens.size(), mostPromptTokens);
        std::ranges::copy_if(tokens.end() - static_cast<std::ptrdiff_t>(kept), tokens.end(),
                             std::back_inserter(inputs.initialPrompt),
                             [&](int token) { return token >= 0 && token < special.specialTokenBegin; });
    }
    inputs.initialPrompt.push_back(special.startOfTranscriptToken);
    return inputs;
}

std::vector<std::int32_t> TextDecoder::promptBehindStart(const DecodingOptions& options,
                                                         const std::string& language) const {
    const auto& special = tokenizer.special();
    std::vector<std::int32_t> prompt;
    if (multilingual && options.usePrefillPrompt) {
        const auto found = tokenizer.languageTokens().find(language);
        if (found == tokenizer.languageTokens().end())
            throw SpeechError("the model knows no language \"" + language + "\"");
        prompt.push_back(found->second);
        prompt.push_back(options.task == DecodingTask::translate ? special.translateToken : special.transcribeToken);
    }
    if (options.withoutTimestamps) prompt.push_back(special.noTimestampsToken);
    if (options.prefixTokens) {
        const auto kept = std::min(options.prefixTokens->size(), mostPromptTokens);
        prompt.insert(prompt.end(), options.prefixTokens->end() - static_cast<std::ptrdiff_t>(kept),
                      options.prefixTokens->end());
    }
    return prompt;
}

void TextDecoder::readStartLogits(std::span<const float> logits, const DecodingOptions& options,
                                  DecodingCache& cache) const {
    cache.noSpeechProb = probabilityOf(logits, tokenizer.special().noSpeechToken);
    cache.language = multilingual ? options.language.value_or("en") : "en";
    if (!multilingual || !options.detectLanguage) return;
    std::vector<float> languages(logits.begin(), logits.end());
    languageLogitsFilter->filter(languages, {});
    for (const auto& [code, token] : tokenizer.languageTokens())
        cache.languageProbs.emplace(code, probabilityOf(languages, token));
    const auto likeliest =
        std::ranges::max_element(cache.languageProbs, {}, [](const auto& entry) { return entry.second; });
    if (likeliest->second > surestLanguageDoubt) cache.language = likeliest->first;
    logger.debug("Detected language: {}", cache.language);
}

std::shared_ptr<const DecodingCache> TextDecoder::prefill(DecoderRun& run, const DecodingOptions& options,
                                                          DecodingInputs& inputs) const {
    const auto cache = std::make_shared<DecodingCache>();
    inputs.truncate(0);
    inputs.inputIds.assign(inputs.initialPrompt.begin(), inputs.initialPrompt.end());
    run.predict();
    readStartLogits(run.logits(), options, *cache);
    // Assigned, not moved in: the bound memory stays where it is, also when there is nothing to feed.
    const auto rest = promptBehindStart(options, cache->language);
    inputs.inputIds.assign(rest.begin(), rest.end());
    if (!inputs.inputIds.empty()) run.predict();
    cache->length = static_cast<std::size_t>(inputs.cacheLength);
    if (options.verbose) logPrompt("Forcing", cache->length);
    cache->logits.assign(run.logits().begin(), run.logits().end());
    if (options.wordTimestamps) run.appendAlignment(cache->alignment);
    return cache;
}

TextDecoder::Filters TextDecoder::makeFilters(const DecodingOptions& options, std::size_t sampleBegin) const {
    const auto& special = tokenizer.special();
    std::vector<int> suppressed = options.suppressTokens;
    // Everything between the end token and the times only steers.
    for (int token = special.endToken + 1; token < special.timeTokenBegin; ++token)
        suppressed.push_back(token);
    if (options.withoutTimestamps)
        for (int token = special.timeTokenBegin; token < static_cast<int>(shape.vocabulary); ++token)
            suppressed.push_back(token);
    Filters filters;
    filters.push_back(std::make_unique<SuppressTokensFilter>(std::move(suppressed)));
    if (options.suppressBlank) filters.push_back(std::make_unique<SuppressBlankFilter>(special, sampleBegin));
    if (options.withoutTimestamps) return filters;
    std::optional<int> maxInitial;
    if (options.maxInitialTimestamp)
        maxInitial = static_cast<int>(std::lround(*options.maxInitialTimestamp / secondsPerPosition));
    filters.push_back(std::make_unique<TimestampRulesFilter>(special, sampleBegin, maxInitial));
    return filters;
}

DecodingResult TextDecoder::decodeText(const Window& window, DecodingInputs& inputs, float temperature,
                                       const DecodingOptions& options, std::shared_ptr<const DecodingCache> cache,
                                       const TranscriptionCallback& callback) const {
    DecodingResult result;
    result.temperature = temperature;
    DecoderRun run(*graph, features, window.audio, inputs, options.wordTimestamps);
    {
        const StageTimer timer(result.timings.decodingInit);
        if (cache) {
            inputs.truncate(cache->length);
            std::ranges::copy(cache->logits, run.logits().begin());
            if (options.verbose) logPrompt("Skipping", cache->length);
        } else {
            cache = prefill(run, options, inputs);
        }
    }
    result.language = cache->language;
    result.languageProbs = cache->languageProbs;
    result.noSpeechProb = cache->noSpeechProb;
    result.cache = cache;
    // The probability is the same at every temperature: a silent window needs no text to be told.
    if (options.noSpeechThreshold && result.noSpeechProb > *options.noSpeechThreshold) {
        result.fallback = DecodingFallback{false, "silence"};
    } else {
        GreedyTokenSampler sampler(temperature, tokenizer.special().endToken, options);
        sampleTokens(run, window, inputs, sampler, options, callback, result);
        result.text = tokenizer.decode(result.tokens);
        result.compressionRatio = compressionRatio(result.tokens, tokenizer);
        result.fallback = result.isStopped ? DecodingFallback{} : fallbackOf(result, options);
    }
    result.timings.decodingPredictions += run.predictionSeconds;
    result.timings.decodingKvCaching += run.cachingSeconds;
    return result;
}

void TextDecoder::sampleTokens(DecoderRun& run, const Window& window, DecodingInputs& inputs,
                               GreedyTokenSampler& sampler, const DecodingOptions& options,
                               const TranscriptionCallback& callback, DecodingResult& result) const {
    const StageTimer loopTimer(result.timings.decodingLoop);
    const auto promptLength = static_cast<std::size_t>(inputs.cacheLength);
    const auto filters = makeFilters(options, promptLength);
    const std::size_t limit = std::min({window.tokenLimit, static_cast<std::size_t>(std::max(0, options.sampleLength)),
                                        shape.textPositions - promptLength});
    // The prompt's places stay empty: filters look only at what was sampled behind them.
    SamplingResult sampled{.tokens = std::vector<int>(promptLength)};
    sampled.tokens.reserve(promptLength + limit);
    sampled.logProbs.reserve(limit);
    auto& rows = result.alignment.rows;
    if (options.wordTimestamps) {
        result.alignment = {.heads = shape.alignmentHeads, .positions = window.audio.positions};
        rows.reserve(limit * shape.alignmentHeads * window.audio.positions);
        rows.insert(rows.end(), result.cache->alignment.begin(), result.cache->alignment.end());
    }
    inputs.inputIds.assign(1, 0);
    logger.debug("Running main loop for a maximum of {} iterations, starting at index {}", limit, promptLength);
    float sum = 0;
    std::size_t count = 0;
    while (count < limit) {
        const auto [token, logProb] = chooseToken(run.logits(), filters, sampler, sampled, result.timings);
        if (options.verbose) logger.debug("Predicted next tokenIndex: {}", promptLength + count);
        sum += logProb;
        noteToken(result, ++count, logProb, sum);
        if (sampled.completed || count == limit) break;
        if (callback && !report(callback, std::span(sampled.tokens).subspan(promptLength), window.id, result)) {
            result.isStopped = true;
            break;
        }
        inputs.inputIds[0] = token;
        run.predict();
        if (options.wordTimestamps) run.appendAlignment(rows);
    }
    result.hitLimit = !sampled.completed && count == limit;
    result.timings.totalDecodingLoops += static_cast<double>(count);
    result.tokens.assign(sampled.tokens.begin() + static_cast<std::ptrdiff_t>(promptLength), sampled.tokens.end());
    result.tokenLogProbs = std::move(sampled.logProbs);
}

std::pair<int, float> TextDecoder::chooseToken(std::span<float> logits, const Filters& filters,
                                               GreedyTokenSampler& sampler, SamplingResult& sampled,
                                               TranscriptionTimings& timings) {
    {
        const StageTimer timer(timings.decodingFiltering);
        for (const auto& filter : filters)
            filter->filter(logits, sampled.tokens);
    }
    const StageTimer timer(timings.decodingSampling);
    return sampler.sample(logits, sampled);
}

bool TextDecoder::report(const TranscriptionCallback& callback, std::span<const int> tokens, int window,
                         const DecodingResult& result) const {
    const TranscriptionProgress progress{.timings = result.timings,
                                         .text = tokenizer.decode(tokens),
                                         .tokens = {tokens.begin(), tokens.end()},
                                         .temperature = result.temperature,
                                         .avgLogprob = result.avgLogProb,
                                         .windowId = window};
    return callback(progress) != false;
}

DecodingResult TextDecoder::detectLanguage(const EncodedWindow& audio) const {
    if (!multilingual) throw SpeechError("Language detection not supported for this model");
    DecodingInputs inputs = prepareDecoderInputs({});
    DecoderRun run(*graph, features, audio, inputs, false);
    inputs.inputIds.assign(inputs.initialPrompt.begin(), inputs.initialPrompt.end());
    run.predict();
    DecodingCache cache;
    readStartLogits(run.logits(), {.detectLanguage = true}, cache);
    if (cache.languageProbs.empty()) throw SpeechError("Language detection failed");
    return {.language = cache.language, .languageProbs = cache.languageProbs, .noSpeechProb = cache.noSpeechProb};
}

} // namespace tavrin
