#pragma once

#include "platform/SampleRateConverter.h"

#include <algorithm>
#include <memory>

namespace tavrin {

/// Takes the nearest sample of the channels' mean: exact in time. As a filter does, it holds the last samples back.
class FakeSampleRateConverter final : public SampleRateConverter {
public:
    FakeSampleRateConverter(double inputRate, std::size_t channelCount, double outputRate)
        : channels(channelCount), step(inputRate / outputRate) {
        if (inputRate <= 0 || channelCount == 0) throw SampleRateError("no such format");
    }

    static constexpr std::size_t holdsBack = 320; // 20 ms of 16 kHz

    void convert(std::span<const float> frames, std::vector<float>& output) override {
        const std::size_t count = frames.size() / channels;
        for (; position < static_cast<double>(count); position += step) {
            float sum = 0;
            for (std::size_t c = 0; c < channels; ++c)
                sum += frames[(static_cast<std::size_t>(position) * channels) + c];
            held.push_back(sum / static_cast<float>(channels));
        }
        position -= static_cast<double>(count);
        give(held.size() - std::min(held.size(), holdsBack), output);
    }
    void finish(std::vector<float>& output) override { give(held.size(), output); }

    static SampleRateConverterFactory factory() {
        return [](double rate, std::size_t channels, double wanted) {
            return std::make_unique<FakeSampleRateConverter>(rate, channels, wanted);
        };
    }

private:
    void give(std::size_t count, std::vector<float>& output) {
        const auto end = held.begin() + static_cast<std::ptrdiff_t>(count);
        output.insert(output.end(), held.begin(), end);
        held.erase(held.begin(), end);
    }

    std::size_t channels;
    double step;
    double position = 0;
    std::vector<float> held;
};

} // namespace tavrin
