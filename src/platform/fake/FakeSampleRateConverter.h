#pragma once

#include "platform/SampleRateConverter.h"

#include <memory>

namespace tavrin {

/// Takes the nearest sample of the channels' mean: exact in time, holds nothing back. For tests without a filter.
class FakeSampleRateConverter final : public SampleRateConverter {
public:
    FakeSampleRateConverter(double inputRate, std::size_t channelCount, double outputRate)
        : channels(channelCount), step(inputRate / outputRate) {
        if (inputRate <= 0 || channelCount == 0) throw SampleRateError("no such format");
    }

    void convert(std::span<const float> frames, std::vector<float>& output) override {
        const std::size_t count = frames.size() / channels;
        for (; position < static_cast<double>(count); position += step) {
            float sum = 0;
            for (std::size_t c = 0; c < channels; ++c)
                sum += frames[(static_cast<std::size_t>(position) * channels) + c];
            output.push_back(sum / static_cast<float>(channels));
        }
        position -= static_cast<double>(count);
    }
    void finish(std::vector<float>& /*output*/) override {}

    static SampleRateConverterFactory factory() {
        return [](double rate, std::size_t channels, double wanted) {
            return std::make_unique<FakeSampleRateConverter>(rate, channels, wanted);
        };
    }

private:
    std::size_t channels;
    double step;
    double position = 0;
};

} // namespace tavrin
