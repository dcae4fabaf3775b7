#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <vector>

namespace tavrin {

/// An input format that cannot be converted, or a stream that cannot be converted any further.
class SampleRateError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Turns a stream of interleaved float samples into one channel at another rate. Channels are averaged, so that what is
/// in all of them keeps its level and nothing clips. Not thread-safe.
/// Errors: convert() and finish() throw SampleRateError when the stream cannot go on; the converter is then used up.
class SampleRateConverter {
public:
    virtual ~SampleRateConverter() = default;
    /// Appends what `frames` (interleaved, whole frames) complete to `output`. The filter holds some milliseconds back.
    virtual void convert(std::span<const float> frames, std::vector<float>& output) = 0;
    /// The end of the stream: appends what was held back.
    virtual void finish(std::vector<float>& output) = 0;
};

/// Makes a converter to one channel: from rate and channels, to a rate. Throws SampleRateError. Any thread.
using SampleRateConverterFactory =
    std::function<std::unique_ptr<SampleRateConverter>(double inputRate, std::size_t channels, double outputRate)>;

} // namespace tavrin
