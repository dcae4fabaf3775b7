#pragma once

#include "ui/Theme.h"
#include "ui/settings/SettingsState.h"

#include <QWidget>
#include <array>

class QVBoxLayout;

namespace tavrin {

class AboutSection;
class AccountSection;
class DictationSection;
class EmptyState;
class LineField;
class MeetingsSection;
class ModelsSection;
class NoticeLine;
class PrivacySection;
class ScrollPage;
class SettingsSection;
class Tabs;
class VocabularySection;

/// The settings: it shows what it is given and says what the user asks for. Nothing is kept here.
/// Ctrl+F goes to the search, Esc in there ends it.
/// Thread: the windows' thread. The theme outlives it.
class SettingsPage final : public QWidget {
    Q_OBJECT

public:
    explicit SettingsPage(const Theme& theme, QWidget* parent = nullptr);

    using QWidget::show;
    void show(const SettingsState& state);
    /// Empties the token field, as after a token was kept.
    void clearToken();
    /// The server's address that was asked for will not do: says so at its field, which keeps what was typed.
    void refuseServerAddress(const QString& reason);
    /// Shows only what says all of these words; everything for an empty text.
    void search(const QString& text);

signals:
    void noticeDismissed();
    void switched(SettingsSwitch which, bool on);
    /// The token as typed, without blanks around it; empty to forget the kept one.
    void tokenSaveRequested(const QString& token);
    /// Another address than the one in force; empty for the default.
    void serverAddressEntered(const QString& address);
    void languageChosen(const QString& value);
    void spellingChosen(const QString& value);
    void hotkeyChosen(const QString& value);
    void modelsRefreshRequested();
    /// `id` is empty for a new correction; `heard` holds mishearings with commas between.
    void correctionSaveRequested(const QString& id, const QString& heard, const QString& correct);
    void correctionDeleteRequested(const QString& id);
    void folderOpenRequested(const QString& folder);
    /// The user was asked and said yes.
    void leftAudioDeleteRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* makeHead();
    void addSections(QVBoxLayout& page);
    void joinSections();
    void addSearchKey();
    void goTo(int part);
    void filter(const QString& text);
    void markTab();

    enum Part {
        accountPart,
        modelsPart,
        privacyPart,
        meetingsPart,
        dictationPart,
        vocabularyPart,
        aboutPart,
        partCount
    };

    const Theme& theme;
    SettingsState state;
    bool filled = false;
    LineField* field = nullptr;
    Tabs* tabs = nullptr;
    NoticeLine* notice = nullptr;
    ScrollPage* scroll;
    EmptyState* nothing = nullptr;
    AccountSection* account = nullptr;
    ModelsSection* models = nullptr;
    PrivacySection* privacy = nullptr;
    MeetingsSection* meetings = nullptr;
    DictationSection* dictation = nullptr;
    VocabularySection* vocabulary = nullptr;
    AboutSection* about = nullptr;
    std::array<SettingsSection*, partCount> sections{};
};

} // namespace tavrin
