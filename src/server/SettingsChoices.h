#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// What the user picks from a few, each with the text under which it is stored.
namespace tavrin {

/// The key whose tap starts and ends a dictation.
enum class DictationHotkey : std::uint8_t { rightOption, fn, rightCommand, capsLock };

constexpr auto allValues(DictationHotkey) {
    using enum DictationHotkey;
    return std::array{rightOption, fn, rightCommand, capsLock};
}

constexpr std::string_view rawValue(DictationHotkey hotkey) {
    constexpr std::array<std::string_view, 4> texts{"rightOption", "fn", "rightCommand", "capsLock"};
    return texts.at(static_cast<std::size_t>(hotkey));
}

/// How finely the screen is recorded.
enum class ScreenRecordingQuality : std::uint8_t { efficient, high, ultra };

constexpr auto allValues(ScreenRecordingQuality) {
    using enum ScreenRecordingQuality;
    return std::array{efficient, high, ultra};
}

constexpr std::string_view rawValue(ScreenRecordingQuality quality) {
    constexpr std::array<std::string_view, 3> texts{"efficient", "high", "ultra"};
    return texts.at(static_cast<std::size_t>(quality));
}

} // namespace tavrin
