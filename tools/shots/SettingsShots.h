#pragma once

#include "Camera.h"
#include "ui/settings/SettingsState.h"

namespace tavrin {
class Theme;
}

namespace tavrin::shots {

/// Settings with something in every section.
SettingsState settings();

/// Pictures of the settings: every section, sheet and circumstance. `suffix` ends each name.
void takeSettings(Theme& theme, Camera& camera, const QString& suffix);

} // namespace tavrin::shots
