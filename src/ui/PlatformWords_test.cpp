#include "ui/PlatformWords.h"

#include <gtest/gtest.h>

namespace tavrin {

namespace {

struct Case {
    const char* message;
    const char* shown;
};

TEST(PlatformWords, messages_name_what_this_desktop_has) {
    const Case cases[] = {
        {"Tavrin API token not set. Open Settings (⌘,) to add your token.",
         "Tavrin API token not set. Open Settings (Ctrl+,) to add your token."},
        {"Microphone access denied. Grant access in System Settings → Privacy & Security → Microphone.",
         "Microphone access denied. Grant access in your sound and privacy settings."},
        {"Recording your microphone only — the other participant isn’t being captured. Allow “Tavrin Assistant” under "
         "System Settings → Privacy & Security → Screen & System Audio Recording, then quit and reopen the app.",
         "Recording your microphone only — the other participant isn’t being captured. Check that the sound server "
         "runs and that a loudspeaker is chosen in your sound settings, then start again."},
        {"Microphone is very quiet while recording — check System Settings → Sound → Input (device and mute). System "
         "audio is still being captured.",
         "Microphone is very quiet while recording — check the input in your sound settings (device and mute). System "
         "audio is still being captured."},
        {"Kept on this Mac for 30 days.", "Kept on this computer for 30 days."},
        {"Your Mac is out of disk space. Free at least 5 GB, then quit and reopen Tavrin Assistant.",
         "Your computer is out of disk space. Free at least 5 GB, then quit and reopen Tavrin Assistant."},
        {"Allow Tavrin Assistant in System Settings → Privacy & Security → Accessibility, then quit (⌘Q) and reopen "
         "the app.",
         "Allow Tavrin Assistant in your accessibility settings, then quit (Ctrl+Q) and reopen the app."},
        {"Right Option (⌥)", "Right Alt"},
        {"Failed to save credential to Keychain (status 1)", "Failed to save credential to the keyring (status 1)"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(platformWords(c.message), QString::fromUtf8(c.shown));
}

TEST(PlatformWords, the_dictation_key_is_the_chosen_one) {
    EXPECT_EQ(platformWords("Listening… tap fn to finish", QStringLiteral("Caps Lock")),
              QString::fromUtf8("Listening… tap Caps Lock to finish"));
}

TEST(PlatformWords, other_words_stay_as_they_are) {
    for (const char* text : {"", "Finishing transcript…", "Machines and tapestry", "Settings", "a \xff broken byte"})
        EXPECT_EQ(platformWords(text), QString::fromUtf8(text)) << text;
}

} // namespace

} // namespace tavrin
