#include "OwnPlayback.h"

#include <pulse/simple.h>

#include <array>
#include <cmath>
#include <numbers>

namespace tavrin {

OwnPlayback::OwnPlayback(double frequency, double amplitude)
    : thread([this, frequency, amplitude] { play(frequency, amplitude); }) {}

OwnPlayback::~OwnPlayback() {
    isEnding = true;
    thread.join();
}

void OwnPlayback::play(double frequency, double amplitude) {
    constexpr pa_sample_spec format{.format = PA_SAMPLE_FLOAT32NE, .rate = 48000, .channels = 1};
    pa_simple* stream =
        pa_simple_new(nullptr, "own", PA_STREAM_PLAYBACK, nullptr, "own", &format, nullptr, nullptr, nullptr);
    if (stream == nullptr) return;
    std::array<float, 2400> samples{};
    for (double time = 0; !isEnding;) {
        for (float& sample : samples) {
            sample = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * frequency * time));
            time += 1.0 / format.rate;
        }
        playing = pa_simple_write(stream, samples.data(), sizeof samples, nullptr) == 0;
        if (!playing) break;
    }
    pa_simple_free(stream);
}

} // namespace tavrin
