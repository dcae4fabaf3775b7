#pragma once

#include "meeting/ModelFolderResolver.h"
#include "meeting/WhisperModelService.h"
#include "platform/CredentialStore.h"
#include "platform/Preferences.h"
#include "server/CredentialLadder.h"
#include "support/async/TaskScope.h"
#include "support/observe/ObserverList.h"
#include "ui/settings/SettingsState.h"

#include <QObject>
#include <vector>

namespace tavrin {

class ModelSetupSheet;
class SettingsPage;

/// Joins the settings page, and the sheet for missing models, to what they change.
/// Thread: main. Dependencies, page and sheet outlive it.
class SettingsPresenter final : public QObject {
    Q_OBJECT

public:
    struct Dependencies {
        Executor& main;
        Preferences& preferences;
        CredentialLadder& credentials;
        const CredentialStore& credentialStore;
        WhisperModelService& models;
        ModelFolderResolver& folders;
        /// Facts on what is kept where, in words.
        std::vector<SettingsState::Fact> privacy;
        std::string version;
    };

    SettingsPresenter(Dependencies dependencies, SettingsPage& page, ModelSetupSheet& sheet);
    ~SettingsPresenter() override;

    /// Shows the present state, with the token looked for anew.
    void refresh();

private:
    void show();
    void showModels();
    void saveToken(std::string token);
    Task<void> keepToken(std::string token);
    Task<void> lookForToken();
    void lookForModels();
    [[nodiscard]] std::vector<SettingsState::Model> models() const;

    Dependencies use;
    SettingsPage& page;
    ModelSetupSheet& sheet;
    SettingsState state;
    Subscription modelState;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
