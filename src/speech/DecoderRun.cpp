#include "speech/DecoderRun.h"

#include "platform/ModelFeatures.h"
#include "speech/SpeechError.h"
#include "speech/TranscriptionTimings.h"

#include <algorithm>
#include <array>

namespace tavrin {

namespace {

class FeatureFinder {
public:
    FeatureFinder(const std::vector<TensorInfo>& declared, std::string fileName)
        : features(declared), file(std::move(fileName)) {}

    [[nodiscard]] std::optional<std::size_t> find(const std::string& name) const {
        return indexOfFeature(features, name);
    }
    [[nodiscard]] std::size_t need(const std::string& name, ElementType type, std::size_t rank) const {
        const auto index = find(name);
        if (!index) throw SpeechError(file + ": not a text decoder: it has no \"" + name + "\"");
        if (features[*index].type != type || features[*index].shape.size() != rank)
            throw SpeechError(file + ": \"" + name + "\" has an unknown form");
        return *index;
    }
    /// All of `prefix`0, `prefix`1, ...
    [[nodiscard]] std::vector<std::size_t> all(const std::string& prefix) const {
        std::vector<std::size_t> found;
        while (const auto index = find(prefix + std::to_string(found.size())))
            found.push_back(need(features[*index].name, features[*index].type, 4));
        return found;
    }

private:
    const std::vector<TensorInfo>& features;
    std::string file;
};

std::size_t known(const TensorInfo& info, std::size_t axis, const std::string& file) {
    if (info.shape.at(axis) <= 0) throw SpeechError(file + ": the size of \"" + info.name + "\" is unknown");
    return static_cast<std::size_t>(info.shape[axis]);
}

template <typename Element, typename... Sizes>
void bindIn(ModelRun& run, std::size_t index, std::span<const Element> data, Sizes... sizes) {
    const std::array<std::int64_t, sizeof...(Sizes)> shape{static_cast<std::int64_t>(sizes)...};
    run.bindInput(index, data.data(), data.size_bytes(), shape);
}

template <typename... Sizes>
void bindOut(ModelRun& run, std::size_t index, std::vector<float>& data, Sizes... sizes) {
    const std::array<std::int64_t, sizeof...(Sizes)> shape{static_cast<std::int64_t>(sizes)...};
    run.bindOutput(index, data.data(), data.size() * sizeof(float), shape);
}

} // namespace

DecoderFeatures DecoderFeatures::of(const ModelGraph& graph, const std::string& file) {
    using enum ElementType;
    const FeatureFinder in(graph.inputs(), file), out(graph.outputs(), file);
    return {.inputIds = in.need("input_ids", int32, 2),
            .cacheLength = in.need("cache_length", int32, 1),
            .keyCache = in.need("key_cache", float32, 4),
            .valueCache = in.need("value_cache", float32, 4),
            .paddingMask = in.need("decoder_key_padding_mask", float32, 2),
            .updateMask = in.find("kv_cache_update_mask"),
            .embeds = in.find("encoder_output_embeds"),
            .crossKeys = in.all("cross_key_"),
            .crossValues = in.all("cross_value_"),
            .logits = out.need("logits", float32, 3),
            .keyUpdates = out.need("key_cache_updates", float32, 4),
            .valueUpdates = out.need("value_cache_updates", float32, 4),
            .alignment = out.find("alignment_heads_weights")};
}

DecoderShape decoderShape(const ModelGraph& graph, const DecoderFeatures& features, std::size_t textPositions,
                          const std::string& file) {
    const TensorInfo& keys = graph.inputs()[features.keyCache];
    const TensorInfo& logits = graph.outputs()[features.logits];
    if (logits.shape[2] <= 0) throw SpeechError(file + ": Failed to read logits size from model");
    DecoderShape shape{.layers = known(keys, 0, file),
                       .heads = known(keys, 1, file),
                       .headSize = known(keys, 3, file),
                       .textPositions = textPositions,
                       .vocabulary = static_cast<std::size_t>(logits.shape[2])};
    if (features.alignment && graph.outputs()[*features.alignment].shape.size() == 4)
        shape.alignmentHeads = known(graph.outputs()[*features.alignment], 1, file);
    return shape;
}

DecoderRun::DecoderRun(const ModelGraph& graph, const DecoderFeatures& found, const EncodedWindow& window,
                       DecodingInputs& state, bool alignmentWanted)
    : features(found), audio(window), inputs(state), run(graph.newRun()), logitValues(state.shape.vocabulary),
      wantsAlignment(alignmentWanted && found.alignment && state.shape.alignmentHeads > 0) {
    if (audio.crossKeys.size() < features.crossKeys.size() || audio.crossValues.size() < features.crossValues.size())
        throw SpeechError("the encoder gives fewer layers than the decoder takes");
    bindFixed();
}

void DecoderRun::bindFixed() {
    const auto& shape = inputs.shape;
    for (std::size_t layer = 0; layer < features.crossKeys.size(); ++layer)
        bindIn(*run, features.crossKeys[layer], std::span(audio.crossKeys[layer]), 1, shape.heads, audio.positions,
               shape.headSize);
    for (std::size_t layer = 0; layer < features.crossValues.size(); ++layer)
        bindIn(*run, features.crossValues[layer], std::span(audio.crossValues[layer]), 1, shape.heads, audio.positions,
               shape.headSize);
    if (features.embeds)
        bindIn(*run, *features.embeds, std::span(audio.embeds), 1, audio.positions,
               audio.embeds.size() / audio.positions);
    bindIn(*run, features.cacheLength, std::span<const std::int32_t>(&inputs.cacheLength, 1), 1);
    bindOut(*run, features.logits, logitValues, 1, 1, shape.vocabulary);
}

void DecoderRun::bindTokens(std::size_t tokens) {
    const auto& shape = inputs.shape;
    keyUpdates.resize(shape.layers * shape.heads * tokens * shape.headSize);
    valueUpdates.resize(keyUpdates.size());
    bindIn(*run, features.inputIds, std::span<const std::int32_t>(inputs.inputIds), 1, tokens);
    bindOut(*run, features.keyUpdates, keyUpdates, shape.layers, shape.heads, tokens, shape.headSize);
    bindOut(*run, features.valueUpdates, valueUpdates, shape.layers, shape.heads, tokens, shape.headSize);
    if (wantsAlignment) {
        alignment.resize(shape.alignmentHeads * tokens * audio.positions);
        bindOut(*run, *features.alignment, alignment, 1, shape.alignmentHeads, tokens, audio.positions);
    }
    boundTokens = tokens;
}

void DecoderRun::bindCache() {
    const auto& shape = inputs.shape;
    const std::size_t capacity = inputs.cacheCapacity;
    const std::size_t floats = shape.layers * shape.heads * capacity * shape.headSize;
    const auto bindKeys = [&](std::size_t feature, const std::vector<float>& cache) {
        bindIn(*run, feature, std::span(cache).first(floats), shape.layers, shape.heads, capacity, shape.headSize);
    };
    bindKeys(features.keyCache, inputs.keyCache);
    bindKeys(features.valueCache, inputs.valueCache);
    bindIn(*run, features.paddingMask, std::span<const float>(inputs.decoderKeyPaddingMask).first(capacity), 1,
           capacity);
    if (features.updateMask)
        bindIn(*run, *features.updateMask, std::span<const float>(inputs.kvCacheUpdateMask).first(capacity), 1,
               capacity);
    boundCapacity = capacity;
}

void DecoderRun::predict() {
    const std::size_t tokens = inputs.inputIds.size();
    inputs.reserve(tokens);
    if (inputs.cacheCapacity != boundCapacity) bindCache();
    if (tokens != boundTokens) bindTokens(tokens);
    if (features.updateMask) {
        std::ranges::fill(inputs.kvCacheUpdateMask, 0.0F);
        std::fill_n(inputs.kvCacheUpdateMask.begin() + inputs.cacheLength, tokens, 1.0F);
    }
    {
        const StageTimer timer(predictionSeconds);
        run->run();
    }
    const StageTimer timer(cachingSeconds);
    inputs.append(keyUpdates, valueUpdates, tokens);
}

void DecoderRun::appendAlignment(std::vector<float>& rows) const {
    for (std::size_t head = 0; head < inputs.shape.alignmentHeads; ++head) {
        if (alignment.empty()) {
            rows.insert(rows.end(), audio.positions, 0.0F);
            continue;
        }
        const auto last =
            alignment.begin() + static_cast<std::ptrdiff_t>((head * boundTokens + boundTokens - 1) * audio.positions);
        rows.insert(rows.end(), last, last + static_cast<std::ptrdiff_t>(audio.positions));
    }
}

} // namespace tavrin
