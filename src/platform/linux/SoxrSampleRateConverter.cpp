#include "platform/linux/SoxrSampleRateConverter.h"

#include <soxr.h>

#include <cmath>
#include <string>

namespace tavrin {

namespace {

constexpr double slowestRate = 100, fastestRate = 1'000'000;
constexpr std::size_t mostChannels = 256;
/// Far above any real sample and far below what a sum of squares could overflow on.
constexpr float loudest = 1e6F;

} // namespace

struct SoxrSampleRateConverter::Resampler {
    explicit Resampler(soxr_t opened) : handle(opened) {}
    ~Resampler() { soxr_delete(handle); }
    Resampler(const Resampler&) = delete;
    Resampler& operator=(const Resampler&) = delete;
    soxr_t handle;
};

SoxrSampleRateConverter::SoxrSampleRateConverter(double inputRate, std::size_t channelCount, double outputRate)
    : channels(channelCount), ratio(outputRate / inputRate) {
    const auto isRate = [](double rate) { return rate >= slowestRate && rate <= fastestRate; };
    if (!isRate(inputRate) || !isRate(outputRate) || channels == 0 || channels > mostChannels)
        throw SampleRateError("cannot convert " + std::to_string(channels) + " channels at " +
                              std::to_string(inputRate) + " samples a second");
    if (inputRate == outputRate) return;
    const auto quality = soxr_quality_spec(SOXR_HQ, 0);
    soxr_error_t error = nullptr;
    const soxr_t handle = soxr_create(inputRate, outputRate, 1, &error, nullptr, &quality, nullptr);
    if (handle == nullptr) throw SampleRateError(std::string("cannot convert sample rates: ") + soxr_strerror(error));
    resampler = std::make_unique<Resampler>(handle);
}

SoxrSampleRateConverter::~SoxrSampleRateConverter() = default;

void SoxrSampleRateConverter::convert(std::span<const float> frames, std::vector<float>& output) {
    mono.resize(frames.size() / channels);
    for (std::size_t i = 0; i < mono.size(); ++i) {
        float sum = 0;
        for (const float sample : frames.subspan(i * channels, channels))
            sum += std::isnan(sample) ? 0.0F : std::fmin(std::fmax(sample, -loudest), loudest);
        mono[i] = sum / static_cast<float>(channels);
    }
    if (resampler)
        process(mono.data(), mono.size(), output);
    else
        output.insert(output.end(), mono.begin(), mono.end());
}

void SoxrSampleRateConverter::finish(std::vector<float>& output) {
    if (resampler) process(nullptr, 0, output);
}

void SoxrSampleRateConverter::process(const float* input, std::size_t count, std::vector<float>& output) {
    constexpr std::size_t slack = 4096;
    const std::size_t room = static_cast<std::size_t>(static_cast<double>(count) * ratio) + slack;
    for (std::size_t used = 0;;) {
        const std::size_t begin = output.size();
        output.resize(begin + room);
        std::size_t taken = 0, given = 0;
        const auto error = soxr_process(resampler->handle, input == nullptr ? nullptr : input + used, count - used,
                                        &taken, output.data() + begin, room, &given);
        output.resize(begin + given);
        if (error != nullptr)
            throw SampleRateError(std::string("cannot convert sample rates: ") + soxr_strerror(error));
        used += taken;
        if (used == count && given < room) return;
    }
}

} // namespace tavrin
