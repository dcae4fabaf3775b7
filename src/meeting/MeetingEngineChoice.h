#pragma once

#include <cstdint>

namespace tavrin {

/// The three engines, by what they are made for.
enum class MeetingEngine : std::uint8_t {
    large,     ///< meetings without the small model
    dictation, ///< small model: dictation, the Me lane, the archive
    them       ///< small model: the Them lane, so that the lanes do not queue behind each other
};

/// What the choice of an engine depends on.
struct MeetingEngineState {
    bool isSmallEnInstalled = false;
    bool smallEngineLoaded = false;
    bool themEngineLoaded = false;
    bool largeEngineLoaded = false;
};

/// Which engine a lane gets when it goes live. Pure. The small model wins where there is one.
constexpr MeetingEngine engineForMeLane(const MeetingEngineState& state) {
    return state.smallEngineLoaded || state.isSmallEnInstalled ? MeetingEngine::dictation : MeetingEngine::large;
}

constexpr MeetingEngine engineForThemLane(const MeetingEngineState& state) {
    if (state.isSmallEnInstalled || state.themEngineLoaded) return MeetingEngine::them;
    if (state.largeEngineLoaded || !state.smallEngineLoaded) return MeetingEngine::large;
    return MeetingEngine::dictation;
}

} // namespace tavrin
