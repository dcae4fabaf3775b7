#pragma once

#include "platform/SampleRateConverter.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace tavrin {

/// `SampleRateConverter` over libsoxr at its high quality: flat up to 0.91 of the lower Nyquist frequency, aliases
/// below -100 dB. Samples that are no numbers become 0.
class SoxrSampleRateConverter final : public SampleRateConverter {
public:
    /// Throws SampleRateError for rates or channels out of all reason.
    SoxrSampleRateConverter(double inputRate, std::size_t channels, double outputRate);
    ~SoxrSampleRateConverter() override;

    void convert(std::span<const float> frames, std::vector<float>& output) override;
    void finish(std::vector<float>& output) override;

private:
    void process(const float* input, std::size_t count, std::vector<float>& output);

    struct Resampler;
    std::unique_ptr<Resampler> resampler; ///< none if the rates are equal
    std::size_t channels;
    double ratio;
    std::vector<float> mono;
};

} // namespace tavrin
