#include "ui/settings/SettingsPresenter.h"

#include "meeting/EnglishSpellingPreference.h"
#include "meeting/TranscriptionSpeechLanguage.h"
#include "server/WebAddress.h"
#include "support/text/Unicode.h"
#include "ui/ModelSetupSheet.h"
#include "ui/settings/SettingsPage.h"

#include <algorithm>
#include <array>
#include <utility>
#include <variant>

namespace tavrin {

namespace {

using Condition = SettingsState::Model::Condition;
using Choice = SettingsState::Choice;

std::vector<Choice> languageChoices() {
    std::vector<Choice> choices;
    for (const TranscriptionSpeechLanguage language : allTranscriptionSpeechLanguages())
        choices.push_back({.value = std::string(rawValue(language)), .name = std::string(label(language))});
    return choices;
}

/// As the keys are called on this desktop's keyboards, in the order of the enumeration.
std::vector<Choice> hotkeyChoices() {
    constexpr std::array names{"Right Alt", "Fn", "Right Super", "Caps Lock"};
    std::vector<Choice> choices;
    for (const DictationHotkey hotkey : allValues(DictationHotkey{}))
        choices.push_back({.value = std::string(rawValue(hotkey)), .name = names.at(static_cast<std::size_t>(hotkey))});
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

/// What addresses can be built upon: paths are appended, and the token goes there.
bool isServerBase(std::string_view address) {
    return isWebAddress(address) && address.find_first_of("?#@") == std::string_view::npos;
}

} // namespace

SettingsPresenter::SettingsPresenter(Dependencies dependencies, SettingsPage& settings, ModelSetupSheet& setup)
    : use(std::move(dependencies)), page(settings), sheet(setup), kept(use.kept), tasks(use.main) {
    state.languages = languageChoices();
    state.spellings = {{.value = "british", .name = "British"}, {.value = "american", .name = "American"}};
    state.hotkeys = hotkeyChoices();
    state.defaultServerAddress = use.defaultServerAddress;
    state.exampleHeard = use.exampleHeard;
    state.exampleCorrect = use.exampleCorrect;
    state.notice = use.notice;
    state.version = use.version;
    joinPage();
    joinModels();
    amounts = kept.amounts.observe([this](const auto&) {
        showModels();
        showKept();
    });
}

SettingsPresenter::~SettingsPresenter() = default;

void SettingsPresenter::joinPage() {
    connect(&page, &SettingsPage::noticeDismissed, this, [this] {
        state.notice.clear();
        show();
    });
    connect(&page, &SettingsPage::switched, this, &SettingsPresenter::setSwitch);
    connect(&page, &SettingsPage::tokenSaveRequested, this, [this](const QString& t) { saveToken(t.toStdString()); });
    connect(&page, &SettingsPage::serverAddressEntered, this,
            [this](const QString& address) { enterServerAddress(address.toStdString()); });
    const auto keep = [this](std::string_view key) {
        return [this, key](const QString& value) {
            use.preferences.set(key, value.toStdString());
            show();
        };
    };
    connect(&page, &SettingsPage::languageChosen, this, keep(transcriptionSpeechLanguageKey));
    connect(&page, &SettingsPage::spellingChosen, this, keep(englishSpellingPreferenceKey));
    connect(&page, &SettingsPage::hotkeyChosen, this, [this](const QString& value) {
        for (const DictationHotkey hotkey : allValues(DictationHotkey{}))
            if (value.toStdString() == rawValue(hotkey)) use.settings.dictationHotkey.set(hotkey);
        show();
    });
    connect(&page, &SettingsPage::correctionSaveRequested, this,
            [this](const QString& id, const QString& heard, const QString& correct) {
                saveCorrection(id.toStdString(), heard.toStdString(), correct.toStdString());
            });
    connect(&page, &SettingsPage::correctionDeleteRequested, this, [this](const QString& id) {
        use.vocabulary.deleteCorrection(id.toStdString());
        showCorrections();
    });
    connect(&page, &SettingsPage::folderOpenRequested, this, &SettingsPresenter::folderOpenRequested);
    connect(&page, &SettingsPage::leftAudioDeleteRequested, this, [this] { tasks.spawn(deleteLeftAudio()); });
}

void SettingsPresenter::joinModels() {
    connect(&page, &SettingsPage::modelsRefreshRequested, this, [this] { lookForModels(); });
    connect(&sheet, &ModelSetupSheet::refreshRequested, this, [this] { lookForModels(); });
    connect(&sheet, &ModelSetupSheet::useInstalledRequested, this,
            [this] { tasks.spawn([this] -> Task<void> { co_await use.models.useInstalledModels(); }); });
    modelState = use.models.state.observe([this](const auto&) {
        showModels();
        if (isShown) countKept();
    });
}

void SettingsPresenter::refresh() {
    if (!std::exchange(isShown, true)) {
        corrections = use.vocabulary.observe([this](const auto&) { showCorrections(); });
        showModels();
        showCorrections();
    }
    tasks.spawn(lookForToken());
    tasks.spawn(lookAtLoginItem(loginRequests));
    countKept();
    show();
}

void SettingsPresenter::show() {
    if (!isShown) return;
    readSettings();
    page.show(state);
}

void SettingsPresenter::readSettings() {
    state.serverAddress = use.settings.apiBaseURL();
    state.meetingReminders = use.settings.meetingRemindersEnabled.get();
    state.speakerLabels = use.settings.speakerLabelsEnabled.get();
    state.language = rawValue(transcriptionSpeechLanguage(use.preferences));
    state.spelling = rawValue(englishSpellingPreference(use.preferences));
    state.hotkey = rawValue(use.settings.dictationHotkey.get());
    state.dictationPasteDirectly = use.settings.dictationPasteDirectly.get();
    state.dictationCleanUpSpeech = use.settings.dictationCleanUpSpeech.get();
    state.dictationSaveHistory = use.settings.dictationSaveHistoryToTavrin.get();
    state.tokenKeptWhere = "Kept in " + use.credentialStore.place() + ".";
}

// Models

void SettingsPresenter::lookForModels() {
    tasks.spawn([this] -> Task<void> { co_await use.models.refresh(); });
}

std::vector<SettingsState::Model> SettingsPresenter::models() const {
    std::vector<SettingsState::Model> rows;
    const auto& counted = kept.amounts.get();
    const auto add = [&](const std::optional<std::string>& variant, const char* name, const char* detail,
                         const std::optional<std::filesystem::path>& folder) {
        if (!variant) return;
        const auto [condition, text] = conditionOf(*use.models.state, folder.has_value());
        const bool hasSize = folder && counted && counted->modelBytes.contains(*folder);
        rows.push_back({.name = std::string(name) + " (" + *variant + ")",
                        .detail = detail,
                        .folder = folder ? folder->string() : std::string(),
                        .stateText = text,
                        .condition = condition,
                        .size = hasSize ? byteWords(counted->modelBytes.at(*folder)) : std::string()});
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

// Server and switches

void SettingsPresenter::enterServerAddress(const std::string& address) {
    const std::string_view wanted = trimmed(address);
    if (!wanted.empty() && !isServerBase(wanted)) {
        page.refuseServerAddress(tr("Write it as https://name.example"));
        return;
    }
    // The default is not stored: a later version may have another one.
    use.settings.setAPIBaseURL(wanted == use.defaultServerAddress ? std::string_view() : wanted);
    show();
}

void SettingsPresenter::setSwitch(SettingsSwitch which, bool on) {
    switch (which) {
    case SettingsSwitch::startWithComputer:
        return startWithComputer(on);
    case SettingsSwitch::meetingReminders:
        use.settings.meetingRemindersEnabled.set(on);
        break;
    case SettingsSwitch::speakerLabels:
        use.settings.speakerLabelsEnabled.set(on);
        break;
    case SettingsSwitch::dictationPasteDirectly:
        use.settings.dictationPasteDirectly.set(on);
        break;
    case SettingsSwitch::dictationCleanUpSpeech:
        use.settings.dictationCleanUpSpeech.set(on);
        break;
    case SettingsSwitch::dictationSaveHistory:
        use.settings.dictationSaveHistoryToTavrin.set(on);
        break;
    }
    show();
}

void SettingsPresenter::startWithComputer(bool wanted) {
    state.startsWithComputer = wanted;
    state.startError.clear();
    show();
    tasks.spawn([this, wanted, request = ++loginRequests] -> Task<void> {
        try {
            co_await use.loginItem.setEnabled(wanted);
        } catch (const LoginItemError& error) {
            if (request == loginRequests) state.startError = error.what();
        }
        co_await lookAtLoginItem(request);
    });
}

/// A look that was begun before the user's latest word does not count.
Task<void> SettingsPresenter::lookAtLoginItem(std::uint64_t request) {
    const auto status = co_await use.loginItem.status();
    if (request != loginRequests) co_return;
    state.startsWithComputer = status == LoginItem::Status::enabled;
    show();
}

// Vocabulary

void SettingsPresenter::saveCorrection(const std::string& id, const std::string& heard, const std::string& correct) {
    auto variants = parseVariants(heard);
    if (variants.empty() || trimmed(correct).empty()) return;
    if (id.empty())
        use.vocabulary.addCorrection(std::move(variants), correct);
    else
        use.vocabulary.updateCorrection(id, std::move(variants), correct);
    showCorrections();
}

void SettingsPresenter::showCorrections() {
    state.corrections.clear();
    for (const VocabularyCorrection& each : use.vocabulary.loadVocabularyCorrections())
        state.corrections.push_back({.id = each.id, .heard = joined(each.variants, ", "), .correct = each.correct});
    show();
}

// What is kept

void SettingsPresenter::countKept() {
    std::vector<std::filesystem::path> folders;
    for (const auto& model : state.models)
        if (!model.folder.empty()) folders.emplace_back(model.folder);
    kept.count(std::move(folders));
    showKept();
}

void SettingsPresenter::showKept() {
    const auto& counted = kept.amounts.get();
    const KeptPlaces& places = kept.places();
    state.kept.clear();
    const auto add = [&](const char* name, const char* howLong, const std::filesystem::path& folder,
                         KeptAmounts::Amount amount) {
        state.kept.push_back({.name = name,
                              .howLong = howLong,
                              .amount = counted ? amountWords(amount) : std::string(),
                              .folder = folder.string(),
                              .folderExists = amount.files > 0});
    };
    const KeptAmounts shown = counted.value_or(KeptAmounts{});
    add("Meeting transcripts", "On this computer for two days; the next start after that removes them",
        places.recordings, shown.recordings.texts);
    add("Meeting audio", "On this computer; of Them for two days, of Me until you delete it", places.recordings,
        shown.recordings.audio);
    add("Speech models", "On this computer, until you delete them", counted ? shown.modelsAt : places.models,
        shown.models);
    add("Settings", "On this computer, until you delete them", places.preferences, shown.preferences);
    add("Diagnostics", "On this computer, until you delete them; they hold what was said in meetings",
        places.diagnostics, shown.diagnostics);
    state.leftAudio = {.amount = counted ? amountWords(shown.recordings.leftAudio) : std::string(),
                       .deleteEnabled = shown.recordings.leftAudio.files > 0 && !isDeleting};
    if (isDeleting) {
        state.leftAudio.hint = "It is being deleted…";
    } else if (couldNotDelete && shown.recordings.leftAudio != KeptAmounts::Amount()) {
        state.leftAudio.hint = "Not all of it could be deleted. Open the folder to see what is there.";
        state.leftAudio.hintIsError = true;
    }
    show();
}

Task<void> SettingsPresenter::deleteLeftAudio() {
    if (isDeleting) co_return;
    isDeleting = true;
    showKept();
    couldNotDelete = !co_await kept.deleteLeftAudio();
    isDeleting = false;
    showKept();
}

} // namespace tavrin
