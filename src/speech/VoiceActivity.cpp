#include "speech/VoiceActivity.h"

#include "platform/ModelFeatures.h"
#include "speech/SpeechError.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tavrin {

namespace {

constexpr std::size_t contextSamples = 64;
constexpr std::size_t inputSamples = contextSamples + VoiceActivity::frameSamples;
constexpr std::size_t stateSize = 128;
/// Frames of one call: enough to make its overhead small, few enough to stay in the cache.
constexpr std::size_t batchFrames = 64;

std::size_t indexOf(const std::vector<TensorInfo>& features, const std::string& name, const std::string& file) {
    const auto index = indexOfFeature(features, name);
    if (!index) throw SpeechError(file + ": not a voice activity model: it has no \"" + name + "\"");
    return *index;
}

} // namespace

VoiceActivity::VoiceActivity(const std::shared_ptr<const ModelGraph>& graph, const std::string& file)
    : run(graph->newRun()), input(indexOf(graph->inputs(), "input", file)),
      output(indexOf(graph->outputs(), "speech_probs", file)), hiddenIn(indexOf(graph->inputs(), "h", file)),
      cellIn(indexOf(graph->inputs(), "c", file)), hiddenOut(indexOf(graph->outputs(), "hn", file)),
      cellOut(indexOf(graph->outputs(), "cn", file)), hidden(stateSize), cell(stateSize), nextHidden(stateSize),
      nextCell(stateSize), context(contextSamples) {
    const std::array<std::int64_t, 3> state{1, 1, stateSize};
    constexpr std::size_t bytes = stateSize * sizeof(float);
    run->bindInput(hiddenIn, hidden.data(), bytes, state);
    run->bindInput(cellIn, cell.data(), bytes, state);
    run->bindOutput(hiddenOut, nextHidden.data(), bytes, state);
    run->bindOutput(cellOut, nextCell.data(), bytes, state);
    frames.resize(batchFrames * inputSamples);
    probability.resize(batchFrames);
}

void VoiceActivity::bindBatch(std::size_t count) {
    const std::array<std::int64_t, 2> shape{static_cast<std::int64_t>(count), inputSamples};
    run->bindInput(input, frames.data(), count * inputSamples * sizeof(float), shape);
    run->bindOutput(output, probability.data(), count * sizeof(float), std::span(shape).first(1));
    boundFrames = count;
}

std::vector<float> VoiceActivity::probabilities(std::span<const float> samples) {
    std::vector<float> result;
    result.reserve(samples.size() / frameSamples);
    while (samples.size() >= frameSamples) {
        const std::size_t count = std::min(batchFrames, samples.size() / frameSamples);
        if (count != boundFrames) bindBatch(count);
        for (std::size_t frame = 0; frame < count; ++frame) {
            const auto place = frames.begin() + static_cast<std::ptrdiff_t>(frame * inputSamples);
            const auto fresh = samples.subspan(frame * frameSamples, frameSamples);
            std::ranges::copy(context, place);
            std::ranges::transform(fresh, place + contextSamples,
                                   [](float x) { return std::isnan(x) ? 0.0F : std::clamp(x, -1.0F, 1.0F); });
            std::copy_n(place + frameSamples, contextSamples, context.begin());
        }
        run->run();
        hidden = nextHidden;
        cell = nextCell;
        result.insert(result.end(), probability.begin(), probability.begin() + static_cast<std::ptrdiff_t>(count));
        samples = samples.subspan(count * frameSamples);
    }
    return result;
}

std::vector<float> VoiceActivity::probabilitiesOf(std::span<const float> audio) {
    auto result = probabilities(audio);
    if (const std::size_t rest = audio.size() % frameSamples) {
        std::array<float, frameSamples> last{};
        std::ranges::copy(audio.last(rest), last.begin());
        result.push_back(probabilities(last).front());
    }
    return result;
}

} // namespace tavrin
