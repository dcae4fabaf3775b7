#include "audio/SystemAudioCaptureService.h"

#include "audio/PcmFormat.h"
#include "audio/PcmLane.h"
#include "support/async/Race.h"
#include "support/async/RunOn.h"
#include "support/log/Log.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <utility>

namespace tavrin {

namespace {

constexpr Logger log{"SystemAudioDiagnostics"};

using Reason = SystemAudioCaptureError::Reason;
using Step = SystemAudioTapError::Step;

struct StepNames {
    Reason reason;
    const char* call;
};

StepNames namesOf(Step step) {
    switch (step) {
    case Step::tap:
        return {Reason::tapCreationFailed, "CreateTap"};
    case Step::defaultOutput:
        return {Reason::defaultOutputUnavailable, "DefaultOutputDevice"};
    case Step::deviceUid:
        return {Reason::deviceUIDUnavailable, "DeviceUID"};
    case Step::device:
        return {Reason::aggregateDeviceCreationFailed, "CreateCaptureDevice"};
    case Step::callback:
        return {Reason::ioProcCreationFailed, "CreateIOCallback"};
    case Step::start:
        return {Reason::deviceStartFailed, "DeviceStart"};
    case Step::format:
        return {Reason::tapFormatUnavailable, "TapFormat"};
    }
    return {Reason::tapCreationFailed, ""};
}

/// What a window of two seconds of buffers held.
struct IoWindow {
    std::int64_t callbackCount = 0;
    float maxAbs = 0;
    std::size_t lastFrames = 0;
    std::int64_t nonZeroBytes = 0;
    std::optional<SteadyInstant> begin;

    void take(const AudioBuffer& buffer) {
        ++callbackCount;
        lastFrames = buffer.frames();
        for (const float sample : buffer.samples) {
            maxAbs = std::max(maxAbs, std::abs(sample));
            if (sample != 0) nonZeroBytes += sizeof(float);
        }
    }
};

} // namespace

class SystemAudioCaptureService::State final : public std::enable_shared_from_this<State> {
public:
    explicit State(const Dependencies& dependencies)
        : use(dependencies), note(use.note ? use.note : [](const std::string&) {}),
          lane("system", use.newConverter, {onPCMChunk, onAudioLevel, {}}, note) {}

    // tapQueue

    void open() {
        use.tap.stop();
        log.info("=== System audio session starting ===");
        if (!use.tap.isAvailable()) {
            log.info("Screen & System Audio Recording not granted — skipping system audio tap");
            throw SystemAudioCaptureError(Reason::permissionDenied);
        }
        logOutputs();
        try {
            openTap();
        } catch (const SystemAudioTapError& error) {
            use.tap.stop();
            const StepNames names = namesOf(error.step);
            log.error("{}: OSStatus={} {}", names.call, error.status, error.what());
            throw SystemAudioCaptureError(names.reason, error.status);
        }
        log.info("=== System audio session started; awaiting IOProc callbacks ===");
    }

    void close() { use.tap.stop(); }

    // ioQueue

    void take(const CapturedBuffer& captured) {
        const AudioBuffer buffer = captured.view();
        const SteadyInstant now = use.ioQueue.now();
        if (!window.begin) window.begin = now;
        window.take(buffer);
        lane.add(buffer);
        if (now - *window.begin >= ioLogInterval) closeWindow(now);
    }

    void reset() {
        lane.clear();
        window = {};
        consecutiveSilentWindows = 0;
    }

    CallbackSlot<std::span<const std::byte>> onPCMChunk;
    CallbackSlot<float> onAudioLevel;

    const Dependencies use;
    const std::function<void(std::string)> note;
    PcmLane lane; // ioQueue

private:
    void logOutputs() const {
        const auto outputs = use.tap.outputs();
        log.info("HAL output-capable devices ({} total):", outputs.size());
        for (const AudioDevice& device : outputs)
            log.info("  id={} name={} uid={}", device.id, device.name, device.uid);
    }

    void openTap() {
        const AudioDevice output = use.tap.defaultOutput();
        log.info("DefaultOutputDevice: OSStatus=0 (noErr)");
        log.info("Default output device: id={} name={} uid={}", output.id, output.name, output.uid);
        use.ioQueue.post([self = shared_from_this()] { self->lane.deviceChanged(); });
        const AudioFormat format = use.tap.start([weak = weak_from_this()](const AudioBuffer& buffer) {
            if (const auto self = weak.lock())
                self->use.ioQueue.post([self, copy = CapturedBuffer(buffer)] { self->take(copy); });
        });
        if (use.tap.excludesOwnSound())
            log.info("Excluding own process from tap: objectID={}", ::getpid());
        else
            log.info("Own sound stays in the tap.");
        log.info("Tap mode: {} aggregateAnchorUID={}", use.tap.method(), output.uid);
        log.info("DeviceStart: OSStatus=0 (noErr)");
        log.info("Tap format: sampleRate={}Hz channels={} bitsPerChannel=32", format.sampleRate, format.channels);
        expectConvertible(format);
    }

    void expectConvertible(const AudioFormat& format) const {
        if (format.sampleRate <= 0 || format.channels == 0) throw SystemAudioTapError(Step::format, 0, "no format");
        try {
            use.newConverter(format.sampleRate, format.channels, static_cast<double>(pcmSampleRate));
        } catch (const SampleRateError&) {
            use.tap.stop();
            throw SystemAudioCaptureError(Reason::converterUnavailable);
        }
    }

    void closeWindow(SteadyInstant now) {
        const bool isSilent = window.maxAbs <= 0.0001F;
        log.info("IOProc alive: {} callbacks in {:.1f}s, lastFrameLength={}, bufferFormat=float32, rawNonZeroBytes={}, "
                 "windowMaxAbsSample={} -> {}",
                 window.callbackCount, std::chrono::duration<double>(now - *window.begin).count(), window.lastFrames,
                 window.nonZeroBytes, window.maxAbs, isSilent ? "SILENCE (all-zero)" : "SIGNAL");
        if (isSilent) {
            if (++consecutiveSilentWindows == silentWindowsToReport)
                note("system_tap_sustained_silence_start windows=" + std::to_string(consecutiveSilentWindows));
        } else {
            if (consecutiveSilentWindows >= silentWindowsToReport)
                note("system_tap_silence_ended afterWindows=" + std::to_string(consecutiveSilentWindows));
            consecutiveSilentWindows = 0;
        }
        window = {};
        window.begin = now;
    }

    // ioQueue
    IoWindow window;
    int consecutiveSilentWindows = 0;
};

SystemAudioCaptureService::SystemAudioCaptureService(Dependencies dependencies)
    : use(std::move(dependencies)), state(std::make_shared<State>(use)) {}

SystemAudioCaptureService::~SystemAudioCaptureService() {
    if (isOpen) stop();
}

Task<void> SystemAudioCaptureService::start() {
    expectCurrent(use.main);
    isOpen = true;
    const std::uint64_t ours = ++opens;
    const bool inTime =
        co_await race(runOn(use.tapQueue, [self = state](const std::stop_token&) { self->open(); }), startLimit);
    if (inTime) co_return;
    // A later start has taken its place in the queue already.
    if (opens == ours) use.tapQueue.post([self = state] { self->close(); });
    throw SystemAudioCaptureError(Reason::deviceStartFailed, ETIMEDOUT);
}

void SystemAudioCaptureService::stop() {
    isOpen = false;
    ++opens;
    state->onPCMChunk.clear();
    state->onAudioLevel.clear();
    use.tapQueue.post([self = state] { self->close(); });
    use.ioQueue.post([self = state] { self->reset(); });
}

void SystemAudioCaptureService::setOrigin(std::optional<SteadyInstant> origin) {
    use.ioQueue.post([self = state, origin] { self->lane.setOrigin(origin); });
}

CallbackSlot<std::span<const std::byte>>& SystemAudioCaptureService::onPCMChunk() {
    return state->onPCMChunk;
}

CallbackSlot<float>& SystemAudioCaptureService::onAudioLevel() {
    return state->onAudioLevel;
}

} // namespace tavrin
