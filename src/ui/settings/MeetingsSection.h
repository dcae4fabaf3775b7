#pragma once

#include "ui/settings/Choices.h"
#include "ui/settings/SettingsSection.h"

namespace tavrin {

class Picker;
class Segments;

/// What holds for meetings: switches, spelling and language.
class MeetingsSection final : public SettingsSection {
    Q_OBJECT

public:
    MeetingsSection(const Theme& theme, QWidget* parent);

    using QWidget::show;
    void show(const SettingsState& state);

signals:
    void languageChosen(const QString& value);
    void spellingChosen(const QString& value);

private:
    Choices languages;
    Choices spellings;
    Switch* reminders;
    Switch* labels;
    Segments* spelling;
    Picker* language;
};

} // namespace tavrin
