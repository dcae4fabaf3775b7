#include "speech/AudioEncoder.h"

#include "platform/ModelFeatures.h"
#include "speech/FeatureExtractor.h"
#include "speech/SpeechAudio.h"
#include "speech/SpeechError.h"

#include <algorithm>
#include <array>

namespace tavrin {

namespace {

constexpr std::size_t shortestContextSamples = 10 * speechSampleRate;
constexpr std::size_t silenceBehindSamples = 2 * speechSampleRate;

template <typename Element>
void bind(ModelRun& run, std::size_t index, std::vector<Element>& data, std::initializer_list<std::size_t> shape) {
    std::array<std::int64_t, 4> dimensions{};
    std::ranges::transform(shape, dimensions.begin(), [](std::size_t d) { return static_cast<std::int64_t>(d); });
    run.bindOutput(index, data.data(), data.size() * sizeof(Element), std::span(dimensions).first(shape.size()));
}

/// For each head, the rows of `begin` followed by the later rows of `rest`.
std::vector<std::byte> joined(const std::vector<std::byte>& begin, const std::vector<std::byte>& rest,
                              std::size_t heads) {
    std::vector<std::byte> result(rest.size());
    const std::size_t beginRow = begin.size() / heads, row = rest.size() / heads;
    for (std::size_t head = 0; head < heads; ++head) {
        const auto to = result.begin() + static_cast<std::ptrdiff_t>(head * row);
        const auto tail = rest.begin() + static_cast<std::ptrdiff_t>(head * row);
        std::copy_n(begin.begin() + static_cast<std::ptrdiff_t>(head * beginRow), beginRow, to);
        std::copy(tail + static_cast<std::ptrdiff_t>(beginRow), tail + static_cast<std::ptrdiff_t>(row),
                  to + static_cast<std::ptrdiff_t>(beginRow));
    }
    return result;
}

} // namespace

AudioEncoder::AudioEncoder(std::shared_ptr<const ModelGraph> encoder, std::size_t positions, bool needsEmbeds,
                           const std::string& file)
    : graph(std::move(encoder)), windowPositions(positions) {
    const auto input = indexOfFeature(graph->inputs(), "melspectrogram_features");
    const auto embeds = indexOfFeature(graph->outputs(), "encoder_output_embeds");
    if (!input || !embeds) throw SpeechError(file + ": not an audio encoder");
    featureInput = *input;
    if (needsEmbeds) embedsOutput = embeds;
    const auto& embedsShape = graph->outputs()[*embeds].shape;
    if (embedsShape.size() != 3 || embedsShape[2] <= 0) throw SpeechError(file + ": the encoder's width is unknown");
    width = static_cast<std::size_t>(embedsShape[2]);
    for (int layer = 0;; ++layer) {
        const auto key = indexOfFeature(graph->outputs(), "cross_key_" + std::to_string(layer));
        const auto value = indexOfFeature(graph->outputs(), "cross_value_" + std::to_string(layer));
        if (!key || !value) break;
        const TensorInfo& info = graph->outputs()[*key];
        const bool isFloat = info.type == ElementType::float16 || info.type == ElementType::float32;
        if (!isFloat || info.shape.size() != 4 || info.shape[1] <= 0 || info.shape[3] <= 0)
            throw SpeechError(file + ": \"" + info.name + "\" has an unknown form");
        heads = static_cast<std::size_t>(info.shape[1]);
        headSize = static_cast<std::size_t>(info.shape[3]);
        headBytes = headSize * elementSize(info.type);
        layers.push_back({*key, *value});
    }
}

std::size_t AudioEncoder::framesFor(std::size_t samples, bool shortContext) const noexcept {
    if (!shortContext) return windowFrames();
    const std::size_t wanted = std::max(shortestContextSamples, samples + silenceBehindSamples);
    return std::min(windowFrames(), (wanted + samplesPerPosition - 1) / samplesPerPosition * 2);
}

EncodedWindow AudioEncoder::encode(std::span<const float> features, std::size_t melBands, std::size_t frames) const {
    EncodedWindow window = encodeFrames(features, melBands, frames);
    if (frames == windowFrames()) return window;
    return completed(window, silence(melBands));
}

EncodedWindow AudioEncoder::encodeFrames(std::span<const float> features, std::size_t melBands,
                                         std::size_t frames) const {
    EncodedWindow window{.positions = frames / 2};
    const auto run = graph->newRun();
    const std::array<std::int64_t, 4> shape{1, static_cast<std::int64_t>(melBands), 1,
                                            static_cast<std::int64_t>(frames)};
    run->bindInput(featureInput, features.data(), features.size_bytes(), shape);
    for (const auto& [keyOutput, valueOutput] : layers) {
        auto& keys = window.crossKeys.emplace_back(heads * window.positions * headBytes);
        auto& values = window.crossValues.emplace_back(heads * window.positions * headBytes);
        bind(*run, keyOutput, keys, {1, heads, window.positions, headSize});
        bind(*run, valueOutput, values, {1, heads, window.positions, headSize});
    }
    if (embedsOutput) {
        window.embeds.resize(window.positions * width);
        bind(*run, *embedsOutput, window.embeds, {1, window.positions, width});
    }
    run->run();
    return window;
}

EncodedWindow AudioEncoder::completed(const EncodedWindow& begin, const EncodedWindow& silent) const {
    EncodedWindow window{.positions = windowPositions, .embeds = begin.embeds, .isShort = true};
    for (std::size_t layer = 0; layer < layers.size(); ++layer) {
        window.crossKeys.push_back(joined(begin.crossKeys[layer], silent.crossKeys[layer], heads));
        window.crossValues.push_back(joined(begin.crossValues[layer], silent.crossValues[layer], heads));
    }
    if (embedsOutput)
        window.embeds.insert(window.embeds.end(),
                             silent.embeds.begin() + static_cast<std::ptrdiff_t>(begin.embeds.size()),
                             silent.embeds.end());
    return window;
}

const EncodedWindow& AudioEncoder::silence(std::size_t melBands) const {
    const std::lock_guard guard(silenceLock);
    if (!silentWindow) {
        const auto features = FeatureExtractor(melBands).logMel({}, windowFrames());
        silentWindow = encodeFrames(features, melBands, windowFrames());
    }
    return *silentWindow;
}

} // namespace tavrin
