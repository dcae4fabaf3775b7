#pragma once

#include "ui/Sheet.h"
#include "ui/settings/SettingsState.h"

namespace tavrin {

class Button;

/// Says which speech models are missing and how to install them.
class ModelSetupSheet final : public Sheet {
    Q_OBJECT

public:
    ModelSetupSheet(const Theme& theme, QWidget& window);

    /// `anyInstalled`: there is something to go on with.
    void setModels(const std::vector<SettingsState::Model>& models, bool anyInstalled);

signals:
    void useInstalledRequested();
    /// Look again: something may have been installed meanwhile.
    void refreshRequested();

private:
    QVBoxLayout* rows;
    Button* useInstalled;
};

} // namespace tavrin
