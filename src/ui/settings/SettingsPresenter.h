#pragma once

#include "meeting/ModelFolderResolver.h"
#include "meeting/WhisperModelService.h"
#include "platform/CredentialStore.h"
#include "platform/LoginItem.h"
#include "server/AppSettings.h"
#include "server/CredentialLadder.h"
#include "server/VocabularyList.h"
#include "support/async/TaskScope.h"
#include "support/observe/ObserverList.h"
#include "ui/settings/KeptCounter.h"
#include "ui/settings/SettingsState.h"

#include <QObject>
#include <vector>

namespace tavrin {

class ModelSetupSheet;
class SettingsPage;

/// Joins the settings page, and the sheet for missing models, to what they change. Before the first refresh() it reads
/// and writes no settings: at start others have to be first.
/// Thread: main. Dependencies, page and sheet outlive it.
class SettingsPresenter final : public QObject {
    Q_OBJECT

public:
    struct Dependencies {
        Executor& main;
        Preferences& preferences;
        AppSettings& settings;
        std::string defaultServerAddress;
        VocabularyList& vocabulary;
        /// What the editor of corrections shows in its empty fields.
        std::string exampleHeard;
        std::string exampleCorrect;
        LoginItem& loginItem;
        CredentialLadder& credentials;
        const CredentialStore& credentialStore;
        WhisperModelService& models;
        ModelFolderResolver& folders;
        KeptCounter::Dependencies kept;
        /// What is the matter with the settings as a whole; empty if nothing is.
        std::string notice;
        std::string version;
    };

    SettingsPresenter(Dependencies dependencies, SettingsPage& page, ModelSetupSheet& sheet);
    ~SettingsPresenter() override;

    /// Shows the present state. Token, login item and what is kept are looked at anew.
    void refresh();

signals:
    /// The user wants to see a folder in the desktop's file manager.
    void folderOpenRequested(const QString& folder);

private:
    void joinPage();
    void joinModels();
    void show();
    void readSettings();

    void showModels();
    void lookForModels();
    [[nodiscard]] std::vector<SettingsState::Model> models() const;

    void saveToken(std::string token);
    Task<void> keepToken(std::string token);
    Task<void> lookForToken();

    void enterServerAddress(const std::string& address);
    void setSwitch(SettingsSwitch which, bool on);
    void startWithComputer(bool wanted);
    Task<void> lookAtLoginItem(std::uint64_t request);

    void saveCorrection(const std::string& id, const std::string& heard, const std::string& correct);
    void showCorrections();
    void countKept();
    void showKept();
    Task<void> deleteLeftAudio();

    Dependencies use;
    SettingsPage& page;
    ModelSetupSheet& sheet;
    SettingsState state;
    KeptCounter kept;
    bool isShown = false;
    bool isDeleting = false;
    bool couldNotDelete = false;
    std::uint64_t loginRequests = 0;
    Subscription modelState;
    Subscription corrections;
    Subscription amounts;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
