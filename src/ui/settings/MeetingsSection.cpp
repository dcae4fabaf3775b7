#include "ui/settings/MeetingsSection.h"

#include "ui/components/Picker.h"
#include "ui/components/Row.h"
#include "ui/components/Segments.h"
#include "ui/components/Switch.h"

namespace tavrin {

MeetingsSection::MeetingsSection(const Theme& shown, QWidget* parent)
    : SettingsSection(shown, tr("Meetings"), parent),
      reminders(addSwitch(tr("Meeting reminders"),
                          tr("They come with the calendar, which this version does not have yet"),
                          SettingsSwitch::meetingReminders)),
      labels(addSwitch(tr("Speaker labels"),
                       tr("Tells the voices of a meeting apart, on this computer; not in this version yet"),
                       SettingsSwitch::speakerLabels)) {
    Row* spellingRow = addRow(tr("English spelling"));
    spelling = new Segments(theme, tr("English spelling"), {}, spellingRow);
    spellingRow->add(spelling);
    Row* languageRow = addRow(tr("Speech language"), tr("Counts from the next words on"));
    language = new Picker(theme, tr("Speech language"), {}, languageRow);
    languageRow->add(language);
    connect(language, &Picker::activated, this, [this](int index) {
        if (const QString value = valueAt(languages, index); !value.isEmpty()) emit languageChosen(value);
    });
    connect(spelling, &Segments::chosen, this, [this](int index) {
        if (const QString value = valueAt(spellings, index); !value.isEmpty()) emit spellingChosen(value);
    });
}

void MeetingsSection::show(const SettingsState& state) {
    showSwitch(*reminders, state.meetingReminders);
    showSwitch(*labels, state.speakerLabels);
    showChoices(*language, languages, state.languages, state.language);
    showChoices(*spelling, spellings, state.spellings, state.spelling);
}

} // namespace tavrin
