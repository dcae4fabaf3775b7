#pragma once

#include "platform/ModelRuntime.h"
#include "speech/AudioEncoder.h"
#include "speech/DecoderRun.h"
#include "speech/DecodingInputs.h"
#include "speech/DecodingOptions.h"
#include "speech/GreedyTokenSampler.h"
#include "speech/LogitsFilters.h"
#include "speech/ModelConfig.h"
#include "speech/TranscriptionResult.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {

/// The autoregressive loop over a decoder graph: one token per prediction, keys and values kept outside the graph.
///
/// A token is chosen in `chooseToken`: every filter in order over the logits, then the sampler. All state of a loop is
/// in its `DecodingInputs`, so one decoder may run windows on several threads. After its arrays are made the loop
/// allocates nothing per token, unless a callback is given or the options are verbose.
class TextDecoder final {
public:
    /// Throws SpeechError if `graph` is no decoder or of another variant than `config`; `file` stands in the text.
    /// `tokenizer` must outlive the decoder.
    TextDecoder(std::shared_ptr<const ModelGraph> graph, const ModelConfig& config, const Tokenizer& tokenizer,
                const std::string& file);

    [[nodiscard]] bool isModelMultilingual() const noexcept { return multilingual; }
    /// The graph takes the encoder's output and computes cross keys and values itself.
    [[nodiscard]] bool needsEmbeds() const noexcept { return features.embeds.has_value(); }

    /// Inputs for one window, with the part of the prompt that precedes the audio's language.
    [[nodiscard]] DecodingInputs prepareDecoderInputs(const DecodingOptions& options) const;

    /// What one decoding of a window is given beside the options.
    struct Window {
        const EncodedWindow& audio;
        int id = 0;
        /// The most tokens to sample; `hitLimit` tells that it cut the text off.
        std::size_t tokenLimit = 0;
    };
    /// Decodes a window. With `cache`, the result of an earlier decoding of the same window with the same inputs and
    /// options, starts behind the prompt. Throws SpeechError and ModelRuntimeError.
    [[nodiscard]] DecodingResult decodeText(const Window& window, DecodingInputs& inputs, float temperature,
                                            const DecodingOptions& options,
                                            std::shared_ptr<const DecodingCache> cache = nullptr,
                                            const TranscriptionCallback& callback = {}) const;

    /// Language of a window and the probability of each, by one prediction at the start of the transcript.
    /// Throws SpeechError with an English-only model.
    [[nodiscard]] DecodingResult detectLanguage(const EncodedWindow& audio) const;

    /// Probability above which a detected language is believed.
    static constexpr float surestLanguageDoubt = 0.5F;

private:
    using Filters = std::vector<std::unique_ptr<const LogitsFilter>>;

    [[nodiscard]] std::shared_ptr<const DecodingCache> prefill(DecoderRun& run, const DecodingOptions& options,
                                                               DecodingInputs& inputs) const;
    void readStartLogits(std::span<const float> logits, const DecodingOptions& options, DecodingCache& cache) const;
    [[nodiscard]] std::vector<std::int32_t> promptBehindStart(const DecodingOptions& options,
                                                              const std::string& language) const;
    [[nodiscard]] Filters makeFilters(const DecodingOptions& options, std::size_t sampleBegin) const;
    void sampleTokens(DecoderRun& run, const Window& window, DecodingInputs& inputs, GreedyTokenSampler& sampler,
                      const DecodingOptions& options, const TranscriptionCallback& callback,
                      DecodingResult& result) const;
    [[nodiscard]] static std::pair<int, float> chooseToken(std::span<float> logits, const Filters& filters,
                                                           GreedyTokenSampler& sampler, SamplingResult& sampled,
                                                           TranscriptionTimings& timings);
    [[nodiscard]] bool report(const TranscriptionCallback& callback, std::span<const int> tokens, int window,
                              const DecodingResult& result) const;

    std::shared_ptr<const ModelGraph> graph;
    const Tokenizer& tokenizer;
    bool multilingual;
    DecoderFeatures features;
    DecoderShape shape;
    std::unique_ptr<const LanguageLogitsFilter> languageLogitsFilter;
};

/// The fall-back test: why a result is not good enough, first hit decides.
[[nodiscard]] DecodingFallback fallbackOf(const DecodingResult& result, const DecodingOptions& options);

} // namespace tavrin
