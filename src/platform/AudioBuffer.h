#pragma once

#include "support/time/Time.h"

#include <cstddef>
#include <span>

namespace tavrin {

/// How sound comes from a device: frames a second, and samples a frame.
struct AudioFormat {
    double sampleRate = 0;
    std::size_t channels = 0;

    bool operator==(const AudioFormat&) const = default;
};

/// A piece of sound as a device gives it. Valid during the call that hands it over.
struct AudioBuffer {
    AudioFormat format;
    /// Interleaved, whole frames, -1 to 1.
    std::span<const float> samples;
    /// When the last frame sounded, as well as the device tells.
    SteadyInstant end;
    /// Sound was lost right before this piece: by the device, the sound server or a reopening.
    bool followsGap = false;

    [[nodiscard]] std::size_t frames() const { return format.channels == 0 ? 0 : samples.size() / format.channels; }
};

} // namespace tavrin
