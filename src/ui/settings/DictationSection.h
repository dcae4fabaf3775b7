#pragma once

#include "ui/settings/Choices.h"
#include "ui/settings/SettingsSection.h"

namespace tavrin {

/// What holds for dictation: its key and switches.
class DictationSection final : public SettingsSection {
    Q_OBJECT

public:
    DictationSection(const Theme& theme, QWidget* parent);

    using QWidget::show;
    void show(const SettingsState& state);

signals:
    void hotkeyChosen(const QString& value);

private:
    Choices hotkeys;
    Picker* hotkey;
    Switch* paste;
    Switch* cleanUp;
    Switch* history;
};

} // namespace tavrin
