#include "audio/AudioCaptureService.h"

#include "audio/PcmLane.h"
#include "support/async/Race.h"
#include "support/async/RunOn.h"
#include "support/log/Log.h"

#include <utility>

namespace tavrin {

namespace {
constexpr Logger log{"AudioCapture"};
}

/// What lives on the queues. Members say whose they are.
class AudioCaptureService::State final : public std::enable_shared_from_this<State> {
public:
    explicit State(const Dependencies& dependencies)
        : use(dependencies),
          lane(
              "mic", use.newConverter, {onPCMChunk, onAudioLevel, [this](auto bytes) { accumulate(bytes); }},
              use.note ? use.note : [](const std::string&) {}) {}

    // engineQueue

    void open(bool voiceProcessing) {
        close();
        wantsVoiceProcessing = voiceProcessing;
        build();
        watch();
    }

    void close() {
        stopWatching();
        dropEngine();
    }

    // processingQueue

    void take(const CapturedBuffer& buffer) { lane.add(buffer.view()); }

    void startAccumulating() {
        accumulatedPCM.clear();
        isAccumulating = true;
    }

    void endAccumulating() {
        if (isAccumulating) lane.finish();
        isAccumulating = false;
    }

    std::vector<std::byte> takeAccumulated() { return std::exchange(accumulatedPCM, {}); }

    CallbackSlot<std::span<const std::byte>> onPCMChunk;
    CallbackSlot<float> onAudioLevel;
    CallbackSlot<> onCaptureLost; // called on main

    const Dependencies use;
    PcmLane lane; // processingQueue

private:
    void accumulate(std::span<const std::byte> bytes) {
        if (isAccumulating) accumulatedPCM.insert(accumulatedPCM.end(), bytes.begin(), bytes.end());
    }

    /// A new engine with its tap, running. Throws and leaves none.
    void build() {
        use.processingQueue.post([self = shared_from_this()] { self->lane.deviceChanged(); });
        try {
            audioEngine = use.newEngine();
            voiceProcessingEnabled = wantsVoiceProcessing && enableVoiceProcessing();
            audioEngine->prepare();
            const AudioFormat format = audioEngine->inputFormat();
            if (format.sampleRate <= 0 || format.channels == 0)
                throw AudioCaptureError(AudioCaptureError::Reason::inputFormatUnavailable);
            installTap();
            audioEngine->start();
        } catch (...) {
            dropEngine();
            throw;
        }
    }

    bool enableVoiceProcessing() {
        try {
            audioEngine->setVoiceProcessingEnabled(true);
            return true;
        } catch (const AudioEngineError&) {
            return false; // the take runs without
        }
    }

    void installTap() {
        audioEngine->installTap(tapFrames, [weak = weak_from_this()](const AudioBuffer& buffer) {
            if (const auto self = weak.lock())
                self->use.processingQueue.post([self, copy = CapturedBuffer(buffer)] { self->take(copy); });
        });
        tapInstalled = true;
    }

    void dropEngine() {
        if (!audioEngine) return;
        if (std::exchange(tapInstalled, false)) audioEngine->removeTap();
        if (audioEngine->isRunning()) audioEngine->stop();
        try {
            if (std::exchange(voiceProcessingEnabled, false)) audioEngine->setVoiceProcessingEnabled(false);
        } catch (const AudioEngineError&) {
            voiceProcessingEnabled = false; // the engine goes in any case
        }
        audioEngine->reset();
        audioEngine.reset();
    }

    void watch() {
        watchTimer = use.engineQueue.postAt(after(use.engineQueue.now(), watchInterval), [weak = weak_from_this()] {
            if (const auto self = weak.lock()) self->look();
        });
    }

    void stopWatching() { use.engineQueue.cancel(std::exchange(watchTimer, {})); }

    void look() {
        watchTimer = {};
        if (tapInstalled && !audioEngine->isRunning() && !restart() && !rebuild()) {
            log.warning("the microphone is lost");
            dropEngine();
            use.main.post([weak = weak_from_this()] {
                if (const auto self = weak.lock()) self->tellLost();
            });
            return;
        }
        watch();
    }

    bool restart() {
        use.processingQueue.post([self = shared_from_this()] { self->lane.deviceChanged(); });
        try {
            audioEngine->start();
            return audioEngine->isRunning();
        } catch (const AudioEngineError& error) {
            log.info("the microphone stopped and did not start again: {}", error.what());
            return false;
        }
    }

    bool rebuild() {
        dropEngine();
        try {
            build();
            return audioEngine->isRunning();
        } catch (const std::runtime_error& error) {
            log.info("the microphone could not be opened anew: {}", error.what());
            return false;
        }
    }

    void tellLost() {
        if (const auto handler = onCaptureLost.take()) handler();
    }

    // processingQueue
    bool isAccumulating = false;
    std::vector<std::byte> accumulatedPCM;

    // engineQueue
    std::unique_ptr<AudioEngine> audioEngine;
    bool tapInstalled = false;
    bool wantsVoiceProcessing = false;
    bool voiceProcessingEnabled = false;
    JobId watchTimer;
};

AudioCaptureService::AudioCaptureService(Dependencies dependencies)
    : use(std::move(dependencies)), state(std::make_shared<State>(use)) {}

AudioCaptureService::~AudioCaptureService() {
    if (isOpen) stop();
}

Task<void> AudioCaptureService::start(bool voiceProcessing) {
    expectCurrent(use.main);
    isOpen = true;
    const std::uint64_t ours = ++opens;
    try {
        const bool inTime = co_await race(
            runOn(use.engineQueue,
                  [self = state, voiceProcessing](const std::stop_token&) { self->open(voiceProcessing); }),
            startLimit);
        if (inTime) co_return;
    } catch (const AudioEngineError& error) {
        log.error("the microphone could not be opened: {}", error.what());
        const bool isNobodyThere = dynamic_cast<const NoSoundServer*>(&error) != nullptr;
        throw AudioCaptureError(isNobodyThere ? AudioCaptureError::Reason::noSoundServer
                                              : AudioCaptureError::Reason::openingFailed);
    }
    // A later start has taken its place in the queue already.
    if (opens == ours) use.engineQueue.post([self = state] { self->close(); });
    throw AudioCaptureError(AudioCaptureError::Reason::startTimedOut);
}

void AudioCaptureService::stop() {
    isOpen = false;
    ++opens;
    state->onPCMChunk.clear();
    state->onAudioLevel.clear();
    state->onCaptureLost.clear();
    use.engineQueue.post([self = state] { self->close(); });
    use.processingQueue.post([self = state] {
        self->endAccumulating();
        self->lane.clear();
    });
}

void AudioCaptureService::setOrigin(std::optional<SteadyInstant> origin) {
    use.processingQueue.post([self = state, origin] { self->lane.setOrigin(origin); });
}

void AudioCaptureService::startAccumulating() {
    use.processingQueue.post([self = state] { self->startAccumulating(); });
}

Task<std::vector<std::byte>> AudioCaptureService::stopAccumulating() {
    co_return co_await runOn(use.processingQueue, [self = state](const std::stop_token&) {
        self->endAccumulating();
        return self->takeAccumulated();
    });
}

CallbackSlot<std::span<const std::byte>>& AudioCaptureService::onPCMChunk() {
    return state->onPCMChunk;
}

CallbackSlot<float>& AudioCaptureService::onAudioLevel() {
    return state->onAudioLevel;
}

void AudioCaptureService::onCaptureLost(std::function<void()> handler) {
    state->onCaptureLost.set(std::move(handler));
}

} // namespace tavrin
