#include "ui/settings/Choices.h"

#include "ui/components/Picker.h"
#include "ui/components/Segments.h"

#include <algorithm>

namespace tavrin {

namespace {

QStringList namesOf(const Choices& choices) {
    QStringList names;
    for (const auto& choice : choices)
        names.append(QString::fromStdString(choice.name));
    return names;
}

int indexOf(const Choices& choices, const std::string& value) {
    const auto found = std::ranges::find(choices, value, &SettingsState::Choice::value);
    return found == choices.end() ? -1 : int(found - choices.begin());
}

} // namespace

void showChoices(Picker& control, Choices& shown, const Choices& wanted, const std::string& value) {
    if (shown != wanted) {
        shown = wanted;
        control.clear();
        control.addItems(namesOf(wanted));
    }
    control.setCurrentIndex(indexOf(shown, value));
}

void showChoices(Segments& control, Choices& shown, const Choices& wanted, const std::string& value) {
    if (shown != wanted) {
        shown = wanted;
        control.setChoices(namesOf(wanted));
    }
    control.setCurrent(indexOf(shown, value));
}

QString valueAt(const Choices& choices, int index) {
    if (index < 0 || index >= int(choices.size())) return {};
    return QString::fromStdString(choices[std::size_t(index)].value);
}

} // namespace tavrin
