#include "ui/PlatformWords.h"

#include <gtest/gtest.h>

namespace tavrin {
namespace {

TEST(PlatformWords, messages_name_what_this_desktop_has_and_other_words_stay) {
    const std::pair<const char*, const char*> cases[] = {
        {"Tavrin API token not set. Open Settings (⌘,) to add your token.",
         "Tavrin API token not set. Open Settings (Ctrl+,) to add your token."},
        {"Recording your microphone only — the other participant isn’t being captured. Allow “Tavrin Assistant” under "
         "System Settings → Privacy & Security → Screen & System Audio Recording, then quit and reopen the app.",
         "Recording your microphone only — the other participant isn’t being captured. Check that the sound server "
         "runs and that a loudspeaker is chosen in your sound settings, then start again."},
        {"Microphone is very quiet while recording — check System Settings → Sound → Input (device and mute). System "
         "audio is still being captured.",
         "Microphone is very quiet while recording — check the input in your sound settings (device and mute). System "
         "audio is still being captured."},
        {"Listening… tap fn to finish", "Listening… tap Caps Lock to finish"},
        {"Machines and tapestry", "Machines and tapestry"},
        {"a \xff broken byte", "a \xff broken byte"},
    };
    for (const auto& [message, shown] : cases)
        EXPECT_EQ(platformWords(message, QStringLiteral("Caps Lock")), QString::fromUtf8(shown)) << message;
}

} // namespace
} // namespace tavrin
