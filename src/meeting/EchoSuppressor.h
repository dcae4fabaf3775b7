#pragma once

#include "meeting/EchoReference.h"
#include "meeting/SpeechChunker.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tavrin {

/// Finds in the microphone's sound what came from the loudspeaker, and takes it out.
///
/// A microphone that hears nothing but the loudspeaker rises and falls with it, however much weaker, and a little
/// later. Once that was sure for a chunk, its delay and its loss tell for each step of the next ones whether more
/// sounds than the echo. Thread: one at a time. Lifetime: the reference outlives it.
class EchoSuppressor final {
public:
    /// From here on a sound is an echo.
    static constexpr double sureLikeness = 0.7;
    /// From here on it may be one: words that the other side said at that very time are no words of the user's.
    static constexpr double someLikeness = 0.5;

    /// What became of a chunk, in steps of 20 ms.
    struct Outcome {
        std::size_t silenced = 0;
        std::size_t own = 0; ///< that are louder than an echo; counts only where something was silenced
    };

    explicit EchoSuppressor(const EchoReference& otherSide) : reference(otherSide) {}

    /// How surely the levels of `samples`, whose first is the sample `first` of the same time line, follow those of the
    /// other side where both can be heard, with the delay from -0.2 to 0.5 s that suits best: their correlation, less
    /// what chance may do in so few steps. 1 is the same, 0 is nothing in common; 0 as well where more than a tenth of
    /// a second sounds while the other side is silent. Where a sure echo came before, it is at least `someLikeness`
    /// if the plain correlation at that delay is, or if 0.3 s or less sound, which are too short to tell.
    [[nodiscard]] double likeness(std::span<const float> samples, std::int64_t first) const;

    /// Makes silent what is an echo and nothing else; the user's own words stay, with their soft beginnings.
    /// Changes nothing as long as no echo was sure, nor once the other side was heard without one.
    Outcome silenceEcho(std::span<float> samples, std::int64_t first);

    /// The same for a chunk of the microphone. `shift` is where its lane begins, in samples behind the beginning of the
    /// other side's.
    [[nodiscard]] double likeness(const SpeechChunk& chunk, std::int64_t shift) const;
    Outcome silenceEcho(SpeechChunk& chunk, std::int64_t shift);

private:
    struct Echo {
        std::int64_t delay;   ///< samples
        float gain;           ///< dB of the step in the middle; negative, an echo is weaker than what was said
        float mostGain;       ///< dB of the loudest steps
        std::int64_t heardAt; ///< sample
    };
    struct Match {
        double likeness = 0;
        bool isLikeKnown = false; ///< at the delay of the last sure echo
        std::optional<Echo> echo; ///< if it is sure
    };
    [[nodiscard]] Match bestMatch(std::span<const float> heard, std::int64_t first) const;
    [[nodiscard]] std::vector<float> loudestEcho(std::int64_t first, std::size_t steps) const;

    const EchoReference& reference;
    std::optional<Echo> known;
};

} // namespace tavrin
