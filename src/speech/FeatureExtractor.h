#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace tavrin {

/// Log-mel features of the Whisper models (Radford et al., "Robust Speech Recognition via Large-Scale Weak
/// Supervision", 2022): reflected padding of 200 samples, periodic Hann window of 400, hop of 160, power, Slaney mel
/// bands, log10, clamped at 8 below the window's maximum, (x + 4) / 4.
///
/// Immutable; may be used from several threads.
class FeatureExtractor final {
public:
    /// `melBands`: 80, or 128 for the largest models.
    explicit FeatureExtractor(std::size_t melBands = 80);
    ~FeatureExtractor();

    [[nodiscard]] std::size_t melBands() const noexcept;
    /// A window, in samples.
    [[nodiscard]] static std::size_t windowSamples() noexcept;

    /// The features of `audio` (16 kHz, -1 to 1, at most a window) followed by digital silence up to `frames` frames of
    /// 10 ms; a row-major matrix [melBands, frames]. Samples that are no numbers count as 0, others are held to
    /// +-1,000 so that no sum overflows. Throws std::invalid_argument if the audio is longer than the frames.
    [[nodiscard]] std::vector<float> logMel(std::span<const float> audio, std::size_t frames) const;

private:
    struct Tables;
    std::unique_ptr<const Tables> tables;
};

} // namespace tavrin
