#pragma once

#include "ui/settings/SettingsState.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace tavrin {

class Picker;
class Segments;

using Choices = std::vector<SettingsState::Choice>;

/// Shows the choices, with the one of this value chosen; `shown` keeps what the control has already.
void showChoices(Picker& control, Choices& shown, const Choices& wanted, const std::string& value);
void showChoices(Segments& control, Choices& shown, const Choices& wanted, const std::string& value);

/// The value at the place that a control tells; empty beyond the choices.
QString valueAt(const Choices& choices, int index);

} // namespace tavrin
