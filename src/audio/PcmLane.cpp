#include "audio/PcmLane.h"

#include "audio/PcmFormat.h"
#include "support/log/Log.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

namespace tavrin {

namespace {

constexpr Logger log{"AudioCapture"};

/// A hole longer than this is a fault of some clock, not lost sound.
constexpr std::int64_t longestFill = pcmSampleRate * 6 * 3'600;
/// Below the level at which either lane takes sound for a voice, and longer than the stops within words.
constexpr double quietLevel = 0.0035;
constexpr std::size_t quietPause = pcmSampleRate / 5;

double samplesOf(const AudioBuffer& buffer) {
    return static_cast<double>(buffer.frames()) * pcmSampleRate / buffer.format.sampleRate;
}

std::int16_t pcmOf(float sample) {
    const float scaled = std::nearbyint(sample * 32'768.0F);
    return static_cast<std::int16_t>(std::clamp(scaled, -32'768.0F, 32'767.0F));
}

bool isQuiet(std::span<const float> samples) {
    double sum = 0;
    for (const float sample : samples)
        sum += static_cast<double>(sample) * sample;
    return sum <= quietLevel * quietLevel * static_cast<double>(samples.size());
}

} // namespace

PcmLane::PcmLane(std::string name, SampleRateConverterFactory factory, Outlets where,
                 std::function<void(std::string)> diagnostics)
    : laneName(std::move(name)), newConverter(std::move(factory)), outlets(std::move(where)),
      note(std::move(diagnostics)) {}

void PcmLane::add(const AudioBuffer& buffer) {
    if (buffer.frames() == 0 || buffer.format.sampleRate <= 0) return;
    if (!timeline) return deliver(buffer);
    if (timeline->isBefore(buffer)) return; // of a take that has ended
    if (buffer.followsGap) place();
    if (buffer.followsGap || (isPlaced && timeline->lag(buffer, 0) > LaneTimeline::jump)) isPlaced = false;
    if (!isPlaced) return settle(buffer);
    if (const auto seen = timeline->drift(buffer)) owed = *seen;
    deliver(buffer);
}

void PcmLane::setOrigin(std::optional<SteadyInstant> origin) {
    held.clear();
    heldLength = {};
    isPlaced = false;
    pendingPCM.clear();
    timeline.reset();
    owed = 0;
    if (origin) timeline.emplace(*origin);
}

void PcmLane::deviceChanged() {
    place();
    finishConverter();
    isPlaced = false;
    converterFormat.reset();
    if (timeline)
        forgetDrift();
    else
        pendingPCM.clear();
}

void PcmLane::finish() {
    if (!held.empty()) place();
    finishConverter();
}

void PcmLane::clear() {
    setOrigin(std::nullopt);
    converter.reset();
    converterFormat.reset();
}

void PcmLane::settle(const AudioBuffer& buffer) {
    held.emplace_back(buffer);
    heldLength +=
        std::chrono::nanoseconds(std::llround(static_cast<double>(buffer.frames()) * 1e9 / buffer.format.sampleRate));
    // Pieces that waited somewhere come all at once and look late; the ones after them tell.
    const bool flows = held.back().end - held.front().end >= LaneTimeline::settlingTime / 2;
    if (heldLength >= LaneTimeline::settlingTime && (flows || heldLength >= LaneTimeline::longestSettling)) place();
}

/// Puts what was held back where its earliest buffer says.
void PcmLane::place() {
    isPlaced = true;
    if (held.empty()) return;
    std::int64_t missing = std::numeric_limits<std::int64_t>::max();
    double ahead = 0;
    for (const CapturedBuffer& buffer : held) {
        missing = std::min(missing, timeline->lag(buffer.view(), std::llround(ahead)));
        ahead += samplesOf(buffer.view());
    }
    if (missing > longestFill) {
        log.warning("a gap of {} s is not filled", missing / static_cast<std::int64_t>(pcmSampleRate));
    } else if (missing > 0) {
        finishConverter();
        fill(missing);
    }
    forgetDrift();
    for (const CapturedBuffer& buffer : std::exchange(held, {}))
        deliver(buffer.view());
    heldLength = {};
}

void PcmLane::deliver(const AudioBuffer& buffer) {
    if (!prepareConverter(buffer.format)) return;
    convert(buffer);
    if (timeline) {
        timeline->advance(samplesOf(buffer));
        keepStep();
    }
    put(mono);
    float peak = 0;
    for (const float sample : mono)
        peak = std::max(peak, std::abs(sample));
    if (!mono.empty()) outlets.level.call(std::min(peak, 1.0F));
    sendChunks();
}

void PcmLane::convert(const AudioBuffer& buffer) {
    mono.clear();
    try {
        converter->convert(buffer.samples, mono);
    } catch (const SampleRateError& error) {
        if (!std::exchange(saidUnavailable, true)) log.error("{}: sound is lost: {}", laneName, error.what());
        converter.reset();
        mono.assign(timeline ? static_cast<std::size_t>(std::llround(samplesOf(buffer))) : 0, 0.0F);
    }
}

/// Puts in or takes off what the device's clock owes, where nobody speaks, or anywhere once it is too much.
void PcmLane::keepStep() {
    quietLength = isQuiet(mono) ? quietLength + mono.size() : 0;
    if (owed == 0 || (quietLength < quietPause && std::abs(owed) < LaneTimeline::mostDrift)) return;
    if (owed > 0) return fill(std::exchange(owed, 0));
    const auto surplus = std::min(static_cast<std::size_t>(-owed), mono.size());
    if (surplus == 0) return;
    note("capture_lead_removed lane=" + laneName + " samples=" + std::to_string(surplus));
    mono.erase(mono.begin(), mono.begin() + static_cast<std::ptrdiff_t>(surplus));
    timeline->advance(-static_cast<double>(surplus));
    timeline->forgetWindows();
    owed += static_cast<std::int64_t>(surplus);
}

void PcmLane::forgetDrift() {
    timeline->forgetWindows();
    owed = 0;
}

bool PcmLane::prepareConverter(const AudioFormat& format) {
    if (converter && converterFormat == format) return true;
    finishConverter();
    try {
        converter = newConverter(format.sampleRate, format.channels, static_cast<double>(pcmSampleRate));
        converterFormat = format;
        return true;
    } catch (const SampleRateError&) {
        if (!std::exchange(saidUnavailable, true))
            log.error("{}: could not create an audio converter for {} Hz, {} channels", laneName, format.sampleRate,
                      format.channels);
        return false;
    }
}

/// The end of a stream: what the filter holds belongs before whatever comes next.
void PcmLane::finishConverter() {
    if (!converter) return;
    mono.clear();
    try {
        converter->finish(mono);
    } catch (const SampleRateError& error) {
        log.error("{}: the last milliseconds of a stream are lost: {}", laneName, error.what());
    }
    put(mono);
    converter.reset();
}

void PcmLane::fill(std::int64_t samples) {
    if (samples >= pcmSampleRate / 10)
        note("capture_gap_filled lane=" + laneName + " samples=" + std::to_string(samples));
    timeline->advance(static_cast<double>(samples));
    timeline->forgetWindows();
    const std::vector<float> silence(static_cast<std::size_t>(std::min(samples, pcmSampleRate)));
    while (samples > 0) {
        const auto piece = static_cast<std::size_t>(std::min(samples, pcmSampleRate));
        put(std::span(silence).first(piece));
        sendChunks();
        samples -= static_cast<std::int64_t>(piece);
    }
}

void PcmLane::put(std::span<const float> samples) {
    const std::size_t before = pendingPCM.size();
    pendingPCM.resize(before + (samples.size() * pcmBytesPerSample));
    std::byte* out = pendingPCM.data() + before;
    for (const float sample : samples) {
        const auto value = static_cast<std::uint16_t>(pcmOf(sample));
        *out++ = static_cast<std::byte>(value & 0xFFU);
        *out++ = static_cast<std::byte>(value >> 8U);
    }
    if (outlets.all) outlets.all(std::span(pendingPCM).subspan(before));
}

void PcmLane::sendChunks() {
    std::size_t sent = 0;
    while (pendingPCM.size() - sent >= minChunkBytes) {
        const std::size_t size = std::min(pendingPCM.size() - sent, maxChunkBytes);
        outlets.chunk.call(std::span(pendingPCM).subspan(sent, size));
        sent += size;
    }
    pendingPCM.erase(pendingPCM.begin(), pendingPCM.begin() + static_cast<std::ptrdiff_t>(sent));
}

} // namespace tavrin
