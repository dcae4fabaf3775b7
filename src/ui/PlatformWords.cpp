#include "ui/PlatformWords.h"

#include <array>

namespace tavrin {

namespace {

struct Word {
    const char* theirs;
    const char* ours;
};

// Longer phrases stand before the shorter ones that they contain.
constexpr std::array words{
    Word{"Allow “Tavrin Assistant” under System Settings → Privacy & Security → Screen & System Audio Recording, then "
         "quit and reopen the app.",
         "Check that the sound server runs and that a loudspeaker is chosen in your sound settings, then start again."},
    Word{"Enable Screen Recording for Tavrin Assistant in System Settings → Privacy & Security.",
         "Allow Tavrin Assistant to record the screen when your desktop asks."},
    Word{"System Settings → Privacy & Security → Screen & System Audio Recording", "your sound settings"},
    Word{"System Settings → Privacy & Security → Screen Recording", "your privacy settings"},
    Word{"System Settings → Privacy & Security → Microphone", "your sound and privacy settings"},
    Word{"System Settings → Privacy & Security → Accessibility", "your accessibility settings"},
    Word{"System Settings → Privacy & Security → Automation", "your accessibility settings"},
    Word{"System Settings → Privacy & Security", "your privacy settings"},
    Word{"System Settings → Sound → Input", "the input in your sound settings"},
    Word{"System Settings", "your system settings"},
    Word{"Right Option (⌥)", "Right Alt"},
    Word{"Right Command (⌘)", "Right Super"},
    Word{"⌘,", "Ctrl+,"},
    Word{"⌘Q", "Ctrl+Q"},
    Word{"⌘V", "Ctrl+V"},
    Word{"this Mac", "this computer"},
    Word{"Your Mac", "Your computer"},
    Word{"your Mac", "your computer"},
    Word{"Keychain", "the keyring"},
};

} // namespace

QString platformWords(std::string_view message, const QString& dictationKey) {
    QString text = QString::fromUtf8(message.data(), qsizetype(message.size()));
    for (const Word& word : words)
        text.replace(QString::fromUtf8(word.theirs), QString::fromUtf8(word.ours));
    text.replace(QStringLiteral("tap fn"), QStringLiteral("tap ") + dictationKey);
    return text;
}

} // namespace tavrin
