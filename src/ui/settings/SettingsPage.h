#pragma once

#include "ui/Theme.h"
#include "ui/settings/SettingsState.h"

#include <QWidget>
#include <array>

class QVBoxLayout;

namespace tavrin {

class Button;
class Card;
class Label;
class LineField;
class ModelRows;
class Picker;
class ScrollPage;
class Segments;
class Tabs;

/// The settings: it shows what it is given and says what the user asks for. Nothing is kept here.
/// Thread: the windows' thread. The theme outlives it.
class SettingsPage final : public QWidget {
    Q_OBJECT

public:
    explicit SettingsPage(const Theme& theme, QWidget* parent = nullptr);

    using QWidget::show;
    void show(const SettingsState& state);
    /// Empties the token field, as after a token was kept.
    void clearToken();

signals:
    /// The token as typed, without blanks around it; empty to forget the kept one.
    void tokenSaveRequested(const QString& token);
    void languageChosen(const QString& value);
    void spellingChosen(const QString& value);
    void modelsRefreshRequested();

private:
    void addAccount(QVBoxLayout& page);
    void addModels(QVBoxLayout& page);
    void addPrivacy(QVBoxLayout& page);
    void addMeetings(QVBoxLayout& page);
    void addAbout(QVBoxLayout& page);
    void showToken();
    void showPrivacy(const std::vector<SettingsState::Fact>& facts);
    void markTab();

    enum Part { account, models, privacy, meetings, about, partCount };

    const Theme& theme;
    SettingsState state;
    bool filled = false;
    Tabs* tabs;
    ScrollPage* scroll;
    std::array<Label*, partCount> headings{};
    LineField* token = nullptr;
    Button* saveToken = nullptr;
    Label* tokenState = nullptr;
    Label* keptWhere = nullptr;
    ModelRows* modelRows = nullptr;
    Card* privacyCard = nullptr;
    Picker* language = nullptr;
    Segments* spelling = nullptr;
    Label* version = nullptr;
};

} // namespace tavrin
