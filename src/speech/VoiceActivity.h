#pragma once

#include "platform/ModelRuntime.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// The speech probability of each frame of 32 ms of one audio, frame by frame with the state carried along.
/// Not thread-safe; make one per audio.
class VoiceActivity final {
public:
    static constexpr std::size_t frameSamples = 512;

    /// Throws SpeechError if `graph` is no voice activity model; `file` stands in the text.
    VoiceActivity(const std::shared_ptr<const ModelGraph>& graph, const std::string& file);

    /// Probabilities of the next frames; `samples` is a multiple of `frameSamples`, 16 kHz. Throws ModelRuntimeError.
    [[nodiscard]] std::vector<float> probabilities(std::span<const float> samples);

    /// The same over a whole audio, the last frame filled up with silence.
    [[nodiscard]] std::vector<float> probabilitiesOf(std::span<const float> audio);

private:
    void bindBatch(std::size_t frames);

    std::unique_ptr<ModelRun> run;
    std::size_t input = 0, output = 0;
    std::size_t hiddenIn = 0, cellIn = 0, hiddenOut = 0, cellOut = 0;
    std::vector<float> frames, probability, hidden, cell, nextHidden, nextCell;
    std::vector<float> context; ///< the samples before the next frame
    std::size_t boundFrames = 0;
};

} // namespace tavrin
