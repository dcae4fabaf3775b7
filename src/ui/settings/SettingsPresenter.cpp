#include "ui/settings/SettingsPresenter.h"

#include "meeting/EnglishSpellingPreference.h"
#include "meeting/TranscriptionSpeechLanguage.h"
#include "ui/ModelSetupSheet.h"
#include "ui/settings/SettingsPage.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace tavrin {

namespace {

using Condition = SettingsState::Model::Condition;

std::vector<SettingsState::Choice> languageChoices() {
    std::vector<SettingsState::Choice> choices;
    for (const TranscriptionSpeechLanguage language : allTranscriptionSpeechLanguages())
        choices.push_back({.value = std::string(rawValue(language)), .name = std::string(label(language))});
    return choices;
}

/// What the service says of all models, and what that means for one whose folder is known or not.
std::pair<Condition, std::string> conditionOf(const WhisperModelService::State& state, bool isThere) {
    if (const auto* failed = std::get_if<WhisperModelService::Failed>(&state))
        return {Condition::broken, failed->message};
    if (const auto* loading = std::get_if<WhisperModelService::Downloading>(&state))
        return {Condition::busy, loading->label};
    if (std::holds_alternative<WhisperModelService::Checking>(state)) return {Condition::busy, "Looking for it…"};
    if (isThere) return {Condition::ready, "Installed"};
    return {Condition::missing, "Not installed"};
}

} // namespace

SettingsPresenter::SettingsPresenter(Dependencies dependencies, SettingsPage& settings, ModelSetupSheet& setup)
    : use(std::move(dependencies)), page(settings), sheet(setup), tasks(use.main) {
    state.languages = languageChoices();
    state.spellings = {{.value = "british", .name = "British"}, {.value = "american", .name = "American"}};
    state.privacy = use.privacy;
    state.version = use.version;
    connect(&page, &SettingsPage::tokenSaveRequested, this, [this](const QString& t) { saveToken(t.toStdString()); });
    connect(&page, &SettingsPage::languageChosen, this, [this](const QString& value) {
        use.preferences.set(transcriptionSpeechLanguageKey, value.toStdString());
        show();
    });
    connect(&page, &SettingsPage::spellingChosen, this, [this](const QString& value) {
        use.preferences.set(englishSpellingPreferenceKey, value.toStdString());
        show();
    });
    connect(&page, &SettingsPage::modelsRefreshRequested, this, [this] { lookForModels(); });
    connect(&sheet, &ModelSetupSheet::refreshRequested, this, [this] { lookForModels(); });
    connect(&sheet, &ModelSetupSheet::useInstalledRequested, this,
            [this] { tasks.spawn([this] -> Task<void> { co_await use.models.useInstalledModels(); }); });
    modelState = use.models.state.observe([this](const auto&) { showModels(); });
    showModels();
    show();
}

SettingsPresenter::~SettingsPresenter() = default;

void SettingsPresenter::refresh() {
    tasks.spawn(lookForToken());
    show();
}

void SettingsPresenter::show() {
    state.language = rawValue(transcriptionSpeechLanguage(use.preferences));
    state.spelling = rawValue(englishSpellingPreference(use.preferences));
    state.tokenKeptWhere = "Kept in " + use.credentialStore.place() + ".";
    page.show(state);
}

// Models

void SettingsPresenter::lookForModels() {
    tasks.spawn([this] -> Task<void> { co_await use.models.refresh(); });
}

std::vector<SettingsState::Model> SettingsPresenter::models() const {
    std::vector<SettingsState::Model> rows;
    const auto add = [&](const std::optional<std::string>& variant, const char* name, const char* detail,
                         const std::optional<std::filesystem::path>& folder) {
        if (!variant) return;
        const auto [condition, text] = conditionOf(*use.models.state, folder.has_value());
        rows.push_back({.name = std::string(name) + " (" + *variant + ")",
                        .detail = detail,
                        .folder = folder ? folder->string() : std::string(),
                        .stateText = text,
                        .condition = condition});
    };
    const ModelDeployment& offered = use.folders.deployment();
    add(offered.smallVariant, "Speech model", "Meetings and dictation, on this computer",
        use.folders.smallModelFolder());
    add(offered.largeVariant, "Large speech model", "Meetings where the smaller one is missing",
        use.folders.largeModelFolder());
    return rows;
}

void SettingsPresenter::showModels() {
    state.models = models();
    state.modelsChecking = std::holds_alternative<WhisperModelService::Checking>(*use.models.state);
    const bool anyInstalled =
        std::ranges::any_of(state.models, [](const auto& model) { return model.condition == Condition::ready; });
    sheet.setModels(state.models, anyInstalled);
    show();
}

// The token

void SettingsPresenter::saveToken(std::string token) {
    state.tokenSaveEnabled = false;
    show();
    tasks.spawn(keepToken(std::move(token)));
}

Task<void> SettingsPresenter::keepToken(std::string token) {
    state.tokenStateIsError = false;
    try {
        if (token.empty())
            co_await use.credentials.deleteAPIToken();
        else
            co_await use.credentials.saveAPIToken(std::move(token));
        page.clearToken();
    } catch (const CredentialError& error) {
        state.tokenState = error.what();
        state.tokenStateIsError = true;
    }
    state.tokenSaveEnabled = true;
    if (state.tokenStateIsError)
        show();
    else
        co_await lookForToken();
}

Task<void> SettingsPresenter::lookForToken() {
    const auto token = co_await use.credentials.loadAPIToken();
    state.tokenSaved = token.has_value();
    state.tokenState = token ? "A token is stored." : "No token is stored.";
    state.tokenStateIsError = false;
    show();
}

} // namespace tavrin
