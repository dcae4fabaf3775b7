#pragma once

#include "ui/settings/SettingsSection.h"

#include <vector>

namespace tavrin {

class BusyRing;
class Button;

/// The card of the models: a row each with its state and its folder, and a button that looks again.
class ModelsSection final : public SettingsSection {
    Q_OBJECT

public:
    ModelsSection(const Theme& theme, QWidget* parent);

    using QWidget::show;
    void show(const std::vector<SettingsState::Model>& models, bool checking);

signals:
    void refreshRequested();

private:
    [[nodiscard]] QWidget* rowOf(const SettingsState::Model& model);

    QVBoxLayout* rows;
    Row* footer = nullptr; // stays, and with it the place of its button in the order of the Tab key
    BusyRing* busy = nullptr;
    Button* refresh = nullptr;
    std::vector<SettingsState::Model> shown;
};

} // namespace tavrin
