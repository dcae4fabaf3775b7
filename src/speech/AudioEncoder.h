#pragma once

#include "platform/ModelRuntime.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// What the decoder sees of one window of audio.
struct EncodedWindow {
    std::size_t positions = 0;
    /// Per decoder layer, floats or half floats [heads, positions, 64]. Empty if the encoder gives none.
    std::vector<std::vector<std::byte>> crossKeys, crossValues;
    /// [positions, width]; only where the decoder asks for it.
    std::vector<float> embeds;
    /// Encoded with the short context, completed with silence.
    bool isShort = false;
};

/// Runs the encoder graph: features in, cross-attention keys and values out.
///
/// A window of 30 s for a few seconds of speech is mostly wasted work, but a window that simply ends after the speech
/// makes the decoder loop. So short audio is encoded with two seconds of silence behind it (ten seconds at least), and
/// the rest of the window is filled up with positions of an all-silent window, computed once.
///
/// May be used from several threads.
class AudioEncoder final {
public:
    /// `needsEmbeds`: the decoder takes the encoder's output itself. Throws SpeechError if `graph` is no encoder.
    AudioEncoder(std::shared_ptr<const ModelGraph> graph, std::size_t positions, bool needsEmbeds,
                 const std::string& file);

    /// Feature frames that audio of `samples` needs with the short context; the whole window's when that is no shorter.
    [[nodiscard]] std::size_t framesFor(std::size_t samples, bool shortContext) const noexcept;
    [[nodiscard]] std::size_t windowFrames() const noexcept { return 2 * windowPositions; }

    /// Encodes `features` [melBands, frames]. With fewer frames than a window has, silence completes the result.
    /// Throws ModelRuntimeError.
    [[nodiscard]] EncodedWindow encode(std::span<const float> features, std::size_t melBands, std::size_t frames) const;

    /// Encodes the all-silent window now instead of at the first short audio. Thread-safe.
    void prepareSilence(std::size_t melBands) const { (void)silence(melBands); }

private:
    struct Layer {
        std::size_t keyOutput, valueOutput;
    };
    [[nodiscard]] EncodedWindow encodeFrames(std::span<const float> features, std::size_t melBands,
                                             std::size_t frames) const;
    [[nodiscard]] EncodedWindow completed(const EncodedWindow& begin, const EncodedWindow& silent) const;
    const EncodedWindow& silence(std::size_t melBands) const;

    std::shared_ptr<const ModelGraph> graph;
    std::size_t windowPositions;
    std::size_t featureInput = 0;
    std::optional<std::size_t> embedsOutput;
    std::vector<Layer> layers;
    std::size_t heads = 0, width = 0;
    std::size_t headBytes = 0; ///< of one position of one head in a cross tensor
    std::size_t headSize = 0;
    mutable std::mutex silenceLock;
    mutable std::optional<EncodedWindow> silentWindow;
};

} // namespace tavrin
