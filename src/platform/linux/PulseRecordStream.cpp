#include "platform/linux/PulseRecordStream.h"

#include "platform/linux/PulseServer.h"
#include "support/time/Clock.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tavrin {

namespace {

using namespace std::chrono_literals;

constexpr Duration stallLimit = 2500ms;
/// A latency beyond this is a server's mistake.
constexpr Duration longestLatency = 2s;
/// The begin of a stream's sound is known when it has stayed within `sameTime` for so long.
constexpr Duration sameTime = 10ms, knownAfter = 120ms, longestWait = 1s;
constexpr double shortestFragment = 0.020, longestFragment = 0.040;

SteadyInstant now() {
    return SystemSteadyClock().now();
}

Duration lasting(std::size_t frames, double rate) {
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(static_cast<double>(frames) / rate));
}

/// How long ago the next frame to be read was recorded. Negative for the monitor of a speaker that has yet to play it.
Duration ageOfNext(pa_stream* stream) {
    pa_usec_t microseconds = 0;
    int isNegative = 0;
    if (pa_stream_get_latency(stream, &microseconds, &isNegative) < 0) return {};
    const auto age = std::chrono::microseconds(std::min<pa_usec_t>(microseconds, 1'000'000'000));
    if (age > longestLatency) return {};
    return isNegative != 0 ? -age : age;
}

} // namespace

struct PulseRecordStream::Callbacks {
    static void state(pa_stream*, void* self) { static_cast<PulseRecordStream*>(self)->changeState(); }
    static void read(pa_stream*, std::size_t, void* self) { static_cast<PulseRecordStream*>(self)->read(); }
};

PulseRecordStream::PulseRecordStream(PulseServer& owner, Source from, std::size_t fragment, bool followsGap,
                                     const Receiver& taker)
    : server(owner), source(std::move(from)), receiver(taker), gap(followsGap), heard(now()) {
    pa_context* context = server.connection();
    if (context == nullptr) throw std::runtime_error("no sound server answers");
    const pa_sample_spec wanted{.format = PA_SAMPLE_FLOAT32NE,
                                .rate = static_cast<std::uint32_t>(source.format.sampleRate),
                                .channels = static_cast<std::uint8_t>(source.format.channels)};
    stream = pa_stream_new(context, "Recording", &wanted, nullptr);
    if (stream == nullptr) throw std::runtime_error(pa_strerror(pa_context_errno(context)));
    pa_stream_set_state_callback(stream, Callbacks::state, this);
    pa_stream_set_read_callback(stream, Callbacks::read, this);
    server.recordingBegins();
    connect(fragment);
}

PulseRecordStream::~PulseRecordStream() {
    server.recordingEnds();
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

void PulseRecordStream::connect(std::size_t fragment) {
    const double rate = source.format.sampleRate;
    const auto shortest = static_cast<std::size_t>(rate * shortestFragment);
    const auto longest = static_cast<std::size_t>(rate * longestFragment);
    const std::size_t frames = std::clamp(fragment, shortest, longest);
    constexpr auto unset = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr attributes{.maxlength = unset,
                                    .tlength = unset,
                                    .prebuf = unset,
                                    .minreq = unset,
                                    .fragsize =
                                        static_cast<std::uint32_t>(frames * source.format.channels * sizeof(float))};
    // The server neither resamples nor mixes, and it does not move the stream: it would move a microphone's stream
    // onto the repetition of a speaker.
    // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): flags that are added up
    constexpr auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_FIX_RATE | PA_STREAM_FIX_CHANNELS |
                                                          PA_STREAM_DONT_MOVE | PA_STREAM_ADJUST_LATENCY |
                                                          PA_STREAM_INTERPOLATE_TIMING | PA_STREAM_AUTO_TIMING_UPDATE);
    if (pa_stream_connect_record(stream, source.uid.c_str(), &attributes, flags) == 0) return;
    reason = pa_context_errno(pa_stream_get_context(stream));
    current = State::failed;
}

void PulseRecordStream::changeState() {
    switch (pa_stream_get_state(stream)) {
    case PA_STREAM_READY: {
        const pa_sample_spec* given = pa_stream_get_sample_spec(stream);
        source.format = {static_cast<double>(given->rate), given->channels};
        heard = now();
        current = State::running;
        break;
    }
    case PA_STREAM_FAILED:
    case PA_STREAM_TERMINATED:
        reason = pa_context_errno(pa_stream_get_context(stream));
        current = State::failed;
        break;
    default:
        return;
    }
    server.wake();
}

bool PulseRecordStream::isStalled() const {
    return now() - heard.load() >= stallLimit;
}

void PulseRecordStream::read() {
    while (pa_stream_readable_size(stream) != static_cast<std::size_t>(-1)) {
        const void* data = nullptr;
        std::size_t bytes = 0;
        if (pa_stream_peek(stream, &data, &bytes) < 0 || bytes == 0) return;
        if (data == nullptr) {
            hand(now() - ageOfNext(stream));
            gap = true;
        } else {
            deliver(static_cast<const float*>(data), bytes / (sizeof(float) * source.format.channels));
        }
        pa_stream_drop(stream);
    }
}

void PulseRecordStream::deliver(const float* samples, std::size_t frames) {
    if (frames == 0) return;
    const SteadyInstant arrival = now();
    const double rate = source.format.sampleRate;
    heard = arrival;
    waiting.insert(waiting.end(), samples, samples + (frames * source.format.channels));
    const SteadyInstant end = arrival - ageOfNext(stream) + lasting(frames, rate);
    isTimeKnown = isTimeKnown || knowsTime(arrival, end - lasting(waiting.size() / source.format.channels, rate));
    if (isTimeKnown) hand(end);
}

/// Until the server has told of a time at which there was sound already, the library counts from when the stream was
/// made: it takes sound for older than it is, by up to some tenths of a second, and finds back step by step.
bool PulseRecordStream::knowsTime(SteadyInstant arrival, SteadyInstant begin) {
    if (!firstArrival) firstArrival = arrival;
    const pa_timing_info* told = pa_stream_get_timing_info(stream);
    const bool tellsOfSound = told != nullptr && told->write_index > 0;
    // By itself the library asks ever more seldom.
    if (auto* asked = tellsOfSound ? nullptr : pa_stream_update_timing_info(stream, nullptr, nullptr); asked != nullptr)
        pa_operation_unref(asked);
    if (!tellsOfSound || std::chrono::abs(begin - supposedBegin) > sameTime) {
        supposedBegin = begin;
        supposedSince = arrival;
    }
    return arrival - supposedSince >= knownAfter || arrival - *firstArrival >= longestWait;
}

void PulseRecordStream::hand(SteadyInstant end) {
    if (waiting.empty()) return;
    receiver({.format = source.format, .samples = waiting, .end = end, .followsGap = std::exchange(gap, false)});
    waiting.clear();
}

} // namespace tavrin
