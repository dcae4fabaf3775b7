#include "SettingsShots.h"

#include "ui/MainWindow.h"
#include "ui/Theme.h"
#include "ui/settings/SettingsPage.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <functional>
#include <vector>

namespace tavrin::shots {

namespace {

constexpr QSize usual(1120, 760);
constexpr QSize small(900, 620);

void settle() {
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

/// Presses the button that says so, or is called so.
void press(QWidget& within, const QString& words) {
    for (auto* button : within.findChildren<QAbstractButton*>())
        if (button->text() == words || button->accessibleName() == words) return button->click();
}

struct Shot {
    const char* name;
    SettingsState state;
    std::function<void(MainWindow&)> act;
    QSize size = usual;
    double fontScale = 1;
};

std::function<void(MainWindow&)> clicking(const QString& words) {
    return [words](MainWindow& window) { press(window.settingsPage(), words); };
}

std::function<void(MainWindow&)> searching(const QString& words) {
    return [words](MainWindow& window) { window.settingsPage().search(words); };
}

SettingsState fresh() {
    SettingsState state = settings();
    state.tokenSaved = false;
    state.tokenState = "No token is stored.";
    state.serverAddress = state.defaultServerAddress;
    state.corrections.clear();
    state.startsWithComputer.reset();
    for (auto& kept : state.kept)
        kept.amount.clear();
    state.leftAudio = {};
    return state;
}

SettingsState damaged() {
    SettingsState state = settings();
    state.notice = "The settings could not be read and stand at their defaults. The damaged file is kept as "
                   "~/.config/TavrinAssistant/preferences.json.damaged.";
    return state;
}

SettingsState german() {
    SettingsState state = settings();
    state.corrections = {{"1", "Lebensmittelkennzeichnungsverordnungsentwurf, Kennzeichnungsentwurf",
                          "Lebensmittelkennzeichnungsverordnung der Geschäftsführung Süddeutschland"},
                         {"2", "Hohenberger", "Frau Dr. Hohenberger-Lindqvist"}};
    state.serverAddress = "https://geschaeftsfuehrung.niederlassung-sueddeutschland.example/anwendung";
    return state;
}

void refuseServer(MainWindow& window) {
    window.settingsPage().refuseServerAddress(QStringLiteral("Write it as https://name.example"));
}

/// As by Tab: the row's buttons are seen.
void focusRow(MainWindow& window) {
    press(window.settingsPage(), QStringLiteral("Vocabulary"));
    for (auto* button : window.settingsPage().findChildren<QAbstractButton*>())
        if (button->accessibleName() == QLatin1String("Edit the correction to Northline"))
            button->setFocus(Qt::TabFocusReason);
}

void editRow(MainWindow& window) {
    press(window.settingsPage(), QStringLiteral("Vocabulary"));
    press(window.settingsPage(), QStringLiteral("Edit the correction to Northline"));
}

std::vector<Shot> shotsOfSettings() {
    const auto section = [](const char* name) { return clicking(QString::fromLatin1(name)); };
    return {
        {"settings", settings(), {}},
        {"settings-fresh", fresh(), {}},
        {"settings-damaged", damaged(), {}},
        {"settings-server-refused", settings(), refuseServer},
        {"settings-privacy", settings(), section("Privacy")},
        {"settings-meetings", settings(), section("Meetings")},
        {"settings-dictation", settings(), section("Dictation")},
        {"settings-vocabulary", settings(), focusRow},
        {"settings-vocabulary-empty", fresh(), section("Vocabulary")},
        {"settings-vocabulary-editor", settings(), editRow},
        {"settings-large-type-vocabulary-editor", settings(), editRow, small, 2},
        {"settings-delete", settings(), section("Delete audio left over from old meetings")},
        {"settings-licences", settings(), section("Licences")},
        {"settings-search", settings(), searching(QStringLiteral("speech"))},
        {"settings-search-nothing", settings(), searching(QStringLiteral("carburettor"))},
        {"settings-small", damaged(), {}, small},
        {"settings-small-licences", settings(), section("Licences"), small},
        {"settings-large-type", settings(), {}, small, 2},
        {"settings-large-type-damaged", damaged(), {}, small, 2},
        {"settings-large-type-server-refused", settings(), refuseServer, small, 2},
        {"settings-large-type-privacy", settings(), section("Privacy"), small, 2},
        {"settings-large-type-vocabulary", german(), section("Vocabulary"), small, 2},
        {"settings-large-type-delete", settings(), section("Delete audio left over from old meetings"), small, 2},
        {"settings-large-type-licences", settings(), section("Licences"), small, 2},
        {"settings-small-german", german(), section("Dictation"), small},
    };
} // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): functions that are moved into the list

} // namespace

SettingsState settings() {
    using Condition = SettingsState::Model::Condition;
    SettingsState state;
    state.tokenSaved = true;
    state.tokenState = "A token is stored.";
    state.tokenKeptWhere = "Kept in this desktop’s keyring.";
    state.defaultServerAddress = "https://app.tavrin.example";
    state.serverAddress = "https://tavrin.lindqviststudio.example";
    state.startsWithComputer = true;
    state.models = {{"Speech model (base)", "Meetings and dictation, on this computer",
                     "~/.local/share/TavrinAssistant/OnDeviceModels/openai_whisper-base", "Installed", Condition::ready,
                     "145 MB"},
                    {"Large speech model (large-v3)",
                     "Meetings where the smaller one is missing",
                     {},
                     "Not installed",
                     Condition::missing,
                     {}},
                    {"Speaker model", "The file decoder.onnx is cut short.", "~/.local/share/TavrinAssistant/speakers",
                     "Damaged", Condition::broken, "26 MB"}};
    state.languages = {{"auto", "Detect automatically"}, {"en", "English"}, {"de", "German"}};
    state.language = "auto";
    state.spellings = {{"british", "British"}, {"american", "American"}};
    state.spelling = "british";
    state.hotkeys = {{"rightOption", "Right Alt"}, {"capsLock", "Caps Lock"}};
    state.hotkey = "rightOption";
    state.dictationSaveHistory = false;
    state.corrections = {{"1", "Holden, Holden Foods", "Halden Foods"},
                         {"2", "North line, Nordline", "Northline"},
                         {"3", "Lindquist, Linguist", "Lindqvist"},
                         {"4", "tavern, Tavern Assistant", "Tavrin"},
                         {"5", "Petra Home", "Petra Holm"}};
    state.exampleHeard = "Marren Tolliver, Marin Taliver";
    state.exampleCorrect = "Maren Tolivar";
    const std::string data = "~/.local/share/TavrinAssistant/";
    state.kept = {
        {"Meeting transcripts", "On this computer for two days; the next start after that removes them",
         "38 files, 1.2 MB", data + "Recordings", true},
        {"Meeting audio", "On this computer; of Them for two days, of Me until you delete it", "22 files, 3.4 GB",
         data + "Recordings", true},
        {"Speech models", "On this computer, until you delete them", "9 files, 145 MB", data + "OnDeviceModels", true},
        {"Settings", "On this computer, until you delete them", "1 file, 2.1 kB", "~/.config/TavrinAssistant", true},
        {"Diagnostics", "On this computer, until you delete them; they hold what was said in meetings", "None",
         data + "Diagnostics", false}};
    state.leftAudio = {.amount = "6 files, 812 MB", .deleteEnabled = true};
    state.version = "0.1.0";
    return state;
}

void takeSettings(Theme& theme, Camera& camera, const QString& suffix) {
    for (const Shot& shot : shotsOfSettings()) {
        theme.setFontScale(shot.fontScale);
        MainWindow window(theme);
        window.settingsPage().show(shot.state);
        window.showSection(Section::settings);
        window.resize(shot.size);
        window.show();
        settle();
        if (shot.act) shot.act(window);
        settle();
        camera.take(window, QString::fromLatin1(shot.name) + suffix, shot.size);
    }
    theme.setFontScale(1);
}

} // namespace tavrin::shots
