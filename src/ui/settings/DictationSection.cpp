#include "ui/settings/DictationSection.h"

#include "ui/components/Picker.h"
#include "ui/components/Row.h"
#include "ui/components/Switch.h"

namespace tavrin {

DictationSection::DictationSection(const Theme& shown, QWidget* parent)
    : SettingsSection(shown, tr("Dictation"), parent) {
    Row* keyRow = addRow(tr("Key"), tr("Tap, speak, tap again"));
    hotkey = new Picker(theme, tr("Dictation key"), {}, keyRow);
    hotkey->setPreferredWidth(160);
    keyRow->add(hotkey);
    paste = addSwitch(tr("Paste into the focused field"), tr("Otherwise the text waits in a small panel"),
                      SettingsSwitch::dictationPasteDirectly);
    cleanUp = addSwitch(tr("Clean up speech"), tr("Takes out fillers, repeats and false starts"),
                        SettingsSwitch::dictationCleanUpSpeech);
    history = addSwitch(tr("Save history to Tavrin"), tr("Otherwise it is gone when you quit"),
                        SettingsSwitch::dictationSaveHistory);
    addFoot(tr("Dictation itself is not in this version yet. What you choose here holds once it is."));
    connect(hotkey, &Picker::activated, this, [this](int index) {
        if (const QString value = valueAt(hotkeys, index); !value.isEmpty()) emit hotkeyChosen(value);
    });
}

void DictationSection::show(const SettingsState& state) {
    showChoices(*hotkey, hotkeys, state.hotkeys, state.hotkey);
    showSwitch(*paste, state.dictationPasteDirectly);
    showSwitch(*cleanUp, state.dictationCleanUpSpeech);
    showSwitch(*history, state.dictationSaveHistory);
}

} // namespace tavrin
