#include "audio/MixedAudioCaptureService.h"

#include "support/async/Sleep.h"
#include "support/log/Log.h"

namespace tavrin {

namespace {
constexpr Logger log{"MixedCapture"};
}

MixedAudioCaptureService::MixedAudioCaptureService(Executor& mainExecutor, AudioCaptureService& microphone,
                                                   SystemAudioCaptureService& system)
    : main(mainExecutor), micCapture(microphone), systemCapture(system), tasks(mainExecutor) {}

Task<MixedAudioCaptureService::Started> MixedAudioCaptureService::start() {
    stop();
    const std::uint64_t ours = take;
    systemStartError.reset();
    const SteadyInstant origin = main.now();
    micCapture.setOrigin(origin);
    systemCapture.setOrigin(origin);
    forwardLevels();
    micCapture.onPCMChunk().set([this](auto bytes) { onMicPCMChunk.call(bytes); });
    systemCapture.onPCMChunk().set([this](auto bytes) { onSystemPCMChunk.call(bytes); });

    co_await micCapture.start(false);
    if (take != ours) co_return Started::superseded;
    armLostHandler();
    const bool isUp = co_await startSystem();
    if (take != ours) co_return Started::superseded;
    isSystemEnabled = isUp;
    co_return isUp ? Started::both : Started::microphoneOnly;
}

Task<bool> MixedAudioCaptureService::startSystem() {
    const std::uint64_t ours = take;
    try {
        co_await systemCapture.start();
        co_return true;
    } catch (const SystemAudioCaptureError& error) {
        if (take == ours) systemStartError = error.what();
    }
    co_return false;
}

void MixedAudioCaptureService::stop() {
    expectCurrent(main);
    ++take;
    tasks.clear();
    isSystemEnabled = false;
    microphoneLost = false;
    systemCapture.stop();
    micCapture.stop();
}

Task<void> MixedAudioCaptureService::remountMic() {
    if (microphoneLost) co_return;
    const std::uint64_t ours = take;
    try {
        co_await openMicrophone();
    } catch (...) {
        // What ran before is closed, and nothing watches any more.
        if (take == ours) loseMicrophone();
        throw;
    }
    if (take != ours) co_return;
    search.cancel(); // the one before was lost meanwhile
    setMicrophoneLost(false);
}

Task<void> MixedAudioCaptureService::openMicrophone() {
    const std::uint64_t ours = take;
    co_await micCapture.start(false);
    if (take == ours) armLostHandler();
}

void MixedAudioCaptureService::forwardLevels() {
    micCapture.onAudioLevel().set([this](float level) { onMicLevel.call(level); });
    systemCapture.onAudioLevel().set([this](float level) { onSystemLevel.call(level); });
}

void MixedAudioCaptureService::armLostHandler() {
    micCapture.onCaptureLost([this] { loseMicrophone(); });
}

void MixedAudioCaptureService::loseMicrophone() {
    if (microphoneLost) return;
    log.warning("microphone capture lost");
    search = tasks.spawn(lookForMicrophone());
    setMicrophoneLost(true);
}

Task<void> MixedAudioCaptureService::lookForMicrophone() {
    while (true) {
        co_await sleepFor(remountPause);
        try {
            co_await openMicrophone();
            break;
        } catch (const std::runtime_error& error) {
            log.info("the microphone is not back: {}", error.what());
        }
    }
    log.info("the microphone is back");
    setMicrophoneLost(false);
}

void MixedAudioCaptureService::setMicrophoneLost(bool isLost) {
    if (microphoneLost == isLost) return;
    microphoneLost = isLost;
    if (onMicrophoneLost) onMicrophoneLost(isLost);
}

} // namespace tavrin
