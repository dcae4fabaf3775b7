#pragma once

#include "platform/ModelRuntime.h"
#include "speech/AudioEncoder.h"
#include "speech/DecodingInputs.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// Where a decoder graph's features stand in its lists of inputs and outputs. What a graph does not declare is not fed.
struct DecoderFeatures {
    std::size_t inputIds = 0, cacheLength = 0, keyCache = 0, valueCache = 0, paddingMask = 0;
    std::optional<std::size_t> updateMask, embeds;
    std::vector<std::size_t> crossKeys, crossValues;
    std::size_t logits = 0, keyUpdates = 0, valueUpdates = 0;
    std::optional<std::size_t> alignment;

    /// Throws SpeechError that names `file` if `graph` is no decoder.
    [[nodiscard]] static DecoderFeatures of(const ModelGraph& graph, const std::string& file);
};

/// Reads the sizes that the features declare. Throws SpeechError, as above; "Failed to read logits size from model" if
/// the vocabulary is not among them.
[[nodiscard]] DecoderShape decoderShape(const ModelGraph& graph, const DecoderFeatures& features,
                                        std::size_t textPositions, const std::string& file);

/// Predictions of one window: binds the arrays of its inputs once and again only when the number of tokens fed or the
/// cache's capacity changes. Not thread-safe. What it is given must outlive it.
class DecoderRun final {
public:
    DecoderRun(const ModelGraph& graph, const DecoderFeatures& features, const EncodedWindow& audio,
               DecodingInputs& inputs, bool wantsAlignment);

    /// Feeds `inputs.inputIds`, stores their keys and values in the cache and leaves the last token's logits in
    /// `logits`.
    void predict();

    [[nodiscard]] std::span<float> logits() noexcept { return logitValues; }
    /// Appends the attention of the last token fed, [alignment heads, positions]; zeros unless it was wanted.
    void appendAlignment(std::vector<float>& rows) const;
    /// Seconds spent in the graph, and storing keys and values.
    double predictionSeconds = 0;
    double cachingSeconds = 0;

private:
    void bindFixed();
    void bindTokens(std::size_t tokens);
    void bindCache();

    const DecoderFeatures& features;
    const EncodedWindow& audio;
    DecodingInputs& inputs;
    std::unique_ptr<ModelRun> run;
    std::vector<float> logitValues, keyUpdates, valueUpdates, alignment;
    std::size_t boundTokens = 0;
    std::size_t boundCapacity = 0;
    bool wantsAlignment;
};

} // namespace tavrin
