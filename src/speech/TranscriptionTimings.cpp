#include "speech/TranscriptionTimings.h"

#include <array>
#include <chrono>

namespace tavrin {

namespace {

using Timings = TranscriptionTimings;

/// Everything that adds up; the moments `pipelineStart` and `firstTokenTime` do not.
constexpr std::array sums{
    &Timings::inputAudioSeconds,
    &Timings::modelLoading,
    &Timings::prewarmLoadTime,
    &Timings::encoderLoadTime,
    &Timings::decoderLoadTime,
    &Timings::encoderSpecializationTime,
    &Timings::decoderSpecializationTime,
    &Timings::tokenizerLoadTime,
    &Timings::audioLoading,
    &Timings::audioProcessing,
    &Timings::logmels,
    &Timings::encoding,
    &Timings::decodingInit,
    &Timings::decodingLoop,
    &Timings::decodingPredictions,
    &Timings::decodingFiltering,
    &Timings::decodingSampling,
    &Timings::decodingFallback,
    &Timings::decodingWindowing,
    &Timings::decodingKvCaching,
    &Timings::decodingWordTimestamps,
    &Timings::decodingNonPrediction,
    &Timings::totalAudioProcessingRuns,
    &Timings::totalLogmelRuns,
    &Timings::totalEncodingRuns,
    &Timings::totalDecodingLoops,
    &Timings::totalKVUpdateRuns,
    &Timings::totalTimestampAlignmentRuns,
    &Timings::totalDecodingFallbacks,
    &Timings::totalDecodingWindows,
    &Timings::fullPipeline,
};

} // namespace

void TranscriptionTimings::add(const TranscriptionTimings& other) noexcept {
    for (const auto stage : sums)
        this->*stage += other.*stage;
    if (firstTokenTime == 0 || (other.firstTokenTime != 0 && other.firstTokenTime < firstTokenTime))
        firstTokenTime = other.firstTokenTime;
}

double steadySeconds() noexcept {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

StageTimer::StageTimer(double& seconds) noexcept : sum(seconds), begin(steadySeconds()) {}

StageTimer::~StageTimer() {
    sum += steadySeconds() - begin;
}

} // namespace tavrin
