#pragma once

#include <cstdint>

namespace tavrin {

/// Watches the levels of a running meeting for a microphone that says nothing. A plain value.
///
/// While the call is audible and the microphone is not, it is opened anew once; then the user is told.
class MicSilenceRule final {
public:
    enum class Action : std::uint8_t { none, remount, tell };

    static constexpr float silent = 0.004F;
    static constexpr float audible = 0.04F;
    static constexpr int updatesToRemount = 20;
    static constexpr int updatesToTellInACall = 25;
    static constexpr int updatesToTell = 40;

    /// One update of the microphone's level, raw, beside the system's smoothed one.
    Action micLevel(float level, bool systemAudioActive, float systemAudioLevel) {
        if (level >= silent) {
            consecutiveSilentMicLevelUpdates = 0;
            return Action::none;
        }
        ++consecutiveSilentMicLevelUpdates;
        const bool callIsAudible = systemAudioLevel > audible;
        if (!didAttemptMicRemountThisSession && systemAudioActive && callIsAudible &&
            consecutiveSilentMicLevelUpdates == updatesToRemount) {
            didAttemptMicRemountThisSession = true;
            consecutiveSilentMicLevelUpdates = 0;
            return Action::remount;
        }
        return consecutiveSilentMicLevelUpdates == (callIsAudible ? updatesToTellInACall : updatesToTell)
                   ? Action::tell
                   : Action::none;
    }

private:
    int consecutiveSilentMicLevelUpdates = 0;
    bool didAttemptMicRemountThisSession = false;
};

} // namespace tavrin
