#pragma once

#include "platform/SystemAudioTap.h"

#include <mutex>
#include <optional>
#include <utility>

namespace tavrin {

/// A speaker that tests play sound on. Thread: any.
class FakeSystemAudioTap final : public SystemAudioTap {
public:
    AudioFormat format{48'000, 2};
    bool available = true;
    std::optional<SystemAudioTapError> failStart;
    /// Called inside each start.
    std::function<void()> onStart;
    std::vector<AudioDevice> speakers{{.id = 1, .uid = "speaker", .name = "Speaker"}};

    /// Plays a piece that ends at `end`; nothing hears it while the tap is closed.
    void play(std::span<const float> samples, SteadyInstant end, bool followsGap = false) {
        const std::scoped_lock lock(mutex);
        if (callback) callback({.format = format, .samples = samples, .end = end, .followsGap = followsGap});
    }

    [[nodiscard]] bool isOpen() const {
        const std::scoped_lock lock(mutex);
        return static_cast<bool>(callback);
    }

    [[nodiscard]] bool isAvailable() const override { return available; }
    [[nodiscard]] std::vector<AudioDevice> outputs() const override { return speakers; }
    [[nodiscard]] AudioDevice defaultOutput() const override {
        if (speakers.empty()) throw SystemAudioTapError(SystemAudioTapError::Step::defaultOutput, -1, "no speaker");
        return speakers.front();
    }
    [[nodiscard]] std::string method() const override { return isOpen() ? "script" : "unknown yet"; }
    [[nodiscard]] bool excludesOwnSound() const override { return isOpen(); }
    AudioFormat start(Callback newCallback) override {
        if (onStart) onStart();
        if (failStart) throw *failStart;
        const std::scoped_lock lock(mutex);
        callback = std::move(newCallback);
        return format;
    }
    void stop() override {
        const std::scoped_lock lock(mutex);
        callback = {};
    }

private:
    mutable std::mutex mutex;
    Callback callback;
};

} // namespace tavrin
