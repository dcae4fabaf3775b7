#pragma once

#include "ui/settings/SettingsSection.h"

#include <QPointer>

namespace tavrin {

class LicencesSheet;

/// Name, version and licences of the program.
class AboutSection final : public SettingsSection {
    Q_OBJECT

public:
    AboutSection(const Theme& theme, QWidget* parent);

    using QWidget::show;
    void show(const SettingsState& state);

private:
    void openLicences();

    Label* version;
    QPointer<LicencesSheet> sheet; // the window's, made when first wanted
};

} // namespace tavrin
