#pragma once

#include "ui/Theme.h"
#include "ui/settings/SettingsState.h"

#include <QWidget>

class QVBoxLayout;

namespace tavrin {

class BusyRing;
class Button;
class Card;
class Row;

/// The card of the models: a row each with its state and its folder, and a button that looks again.
class ModelRows final : public QWidget {
    Q_OBJECT

public:
    explicit ModelRows(const Theme& theme, QWidget* parent = nullptr);

    void show(const std::vector<SettingsState::Model>& models, bool checking);

signals:
    void refreshRequested();

private:
    [[nodiscard]] QWidget* rowOf(const SettingsState::Model& model) const;

    const Theme& theme;
    Card* card;
    QVBoxLayout* rows;
    Row* footer; // stays, and with it the place of its button in the order of the Tab key
    BusyRing* busy;
    Button* refresh;
    std::vector<SettingsState::Model> shown;
};

} // namespace tavrin
