#pragma once

#include "ui/settings/SettingsSection.h"

#include <QPointer>
#include <vector>

class QVBoxLayout;

namespace tavrin {

class Button;
class DeleteAudioSheet;
class Label;

/// What the program keeps, where, how much and for how long; and a way to delete sound that nothing needs any more.
class PrivacySection final : public SettingsSection {
    Q_OBJECT

public:
    PrivacySection(const Theme& theme, QWidget* parent);

    using QWidget::show;
    void show(const SettingsState& state);

signals:
    void folderOpenRequested(const QString& folder);
    /// The user was asked and said yes.
    void leftAudioDeleteRequested();

private:
    struct KeptRow {
        Row* row;
        Label* amount;
        Button* open;
    };
    void addLeftAudio();
    void fitRows(const std::vector<SettingsState::Kept>& kept);
    KeptRow makeRow(const SettingsState::Kept& kept);
    void askToDelete();

    std::vector<SettingsState::Kept> shown;
    SettingsState::LeftAudio leftAudio;
    std::vector<KeptRow> rows;
    QWidget* tabMark;
    QVBoxLayout* list;
    Row* leftRow = nullptr;
    Label* leftAmount = nullptr;
    Button* remove = nullptr;
    QPointer<DeleteAudioSheet> sheet; // the window's, made when first wanted
};

} // namespace tavrin
