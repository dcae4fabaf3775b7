#pragma once

#include "platform/AudioEngine.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavrin {

/// A microphone that tests play sound into. One of it stands behind all engines that its factory makes; the engine
/// that was started last hears it. Thread: any.
class FakeMicrophone final {
public:
    /// What the next engine finds; rate 0 is no microphone.
    AudioFormat format{48'000, 1};
    /// The next starts, one for each, throw AudioEngineError with the text.
    std::vector<std::string> failNextStarts;
    /// Called inside each start, for instance to block it.
    std::function<void()> onStart;
    bool offersVoiceProcessing = false;

    /// Starts that succeeded so far.
    int starts = 0;

    /// Plays a piece that ends at `end`; nothing hears it while no engine runs.
    void play(std::span<const float> samples, SteadyInstant end, bool followsGap = false) {
        const std::scoped_lock lock(mutex);
        if (running != nullptr && tap)
            tap({.format = runningFormat, .samples = samples, .end = end, .followsGap = followsGap});
    }

    /// The running engine's stream is gone.
    void lose() {
        const std::scoped_lock lock(mutex);
        running = nullptr;
    }

    [[nodiscard]] bool isHeard() const {
        const std::scoped_lock lock(mutex);
        return running != nullptr && static_cast<bool>(tap);
    }

    [[nodiscard]] AudioEngineFactory factory() {
        return [this] { return std::make_unique<Engine>(*this); };
    }

private:
    class Engine final : public AudioEngine {
    public:
        explicit Engine(FakeMicrophone& mic) : microphone(mic) {}
        ~Engine() override {
            stop();
            removeTap();
        }
        void setVoiceProcessingEnabled(bool enabled) override {
            if (enabled && !microphone.offersVoiceProcessing) throw AudioEngineError("no voice processing");
        }
        void prepare() override { found = microphone.format; }
        [[nodiscard]] AudioFormat inputFormat() const override { return found; }
        void installTap(std::size_t /*bufferFrames*/, Tap installed) override {
            const std::scoped_lock lock(microphone.mutex);
            microphone.tap = std::move(installed);
            microphone.tapOwner = this;
        }
        void removeTap() override {
            const std::scoped_lock lock(microphone.mutex);
            if (microphone.tapOwner == this) microphone.tap = {};
        }
        void start() override {
            if (microphone.onStart) microphone.onStart();
            const std::scoped_lock lock(microphone.mutex);
            if (!microphone.failNextStarts.empty()) {
                const std::string text = microphone.failNextStarts.front();
                microphone.failNextStarts.erase(microphone.failNextStarts.begin());
                throw AudioEngineError(text);
            }
            microphone.running = this;
            microphone.runningFormat = microphone.format;
            ++microphone.starts;
        }
        void stop() override {
            const std::scoped_lock lock(microphone.mutex);
            if (microphone.running == this) microphone.running = nullptr;
        }
        void reset() override { found = {}; }
        [[nodiscard]] bool isRunning() const override {
            const std::scoped_lock lock(microphone.mutex);
            return microphone.running == this;
        }

    private:
        FakeMicrophone& microphone;
        AudioFormat found;
    };

    mutable std::mutex mutex;
    AudioEngine* running = nullptr;
    AudioFormat runningFormat;
    AudioEngine* tapOwner = nullptr;
    AudioEngine::Tap tap;
};

} // namespace tavrin
