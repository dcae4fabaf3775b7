#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {

/// What on the page is simply on or off.
enum class SettingsSwitch : std::uint8_t {
    startWithComputer,
    meetingReminders,
    speakerLabels,
    dictationPasteDirectly,
    dictationCleanUpSpeech,
    dictationSaveHistory
};

/// What the settings page shows. A plain value; texts are UTF-8.
struct SettingsState {
    struct Model {
        enum class Condition { ready, missing, busy, broken };

        std::string name;   // "Meeting model"
        std::string detail; // what it does, or what is wrong with it
        std::string folder; // where it is, or would be
        std::string stateText;
        Condition condition = Condition::missing;
        std::string size; // "145 MB"; empty while it is not known

        bool operator==(const Model&) const = default;
    };
    /// One choice of a list: what is kept in the preferences and what is shown.
    struct Choice {
        std::string value;
        std::string name;

        bool operator==(const Choice&) const = default;
    };
    /// One kind of thing that the program keeps.
    struct Kept {
        std::string name;
        std::string howLong; // where and for how long, in words
        std::string amount;  // "12 files, 34 MB"; empty while it is counted
        std::string folder;
        bool folderExists = false;

        bool operator==(const Kept&) const = default;
    };
    /// Sound that belongs to no meeting any more: the user may delete it.
    struct LeftAudio {
        std::string amount; // "12 files, 34 MB", "None"; empty while it is counted
        bool deleteEnabled = false;
        std::string hint; // why it cannot be deleted now, or what became of it
        bool hintIsError = false;

        bool operator==(const LeftAudio&) const = default;
    };
    struct Correction {
        std::string id;
        std::string heard; // the mishearings with commas between
        std::string correct;

        bool operator==(const Correction&) const = default;
    };

    std::string notice; // what is the matter with the settings as a whole

    // account
    bool tokenSaved = false;
    bool tokenSaveEnabled = true;
    std::string tokenState; // "Saved.", or why it was not
    bool tokenStateIsError = false;
    std::string tokenKeptWhere; // "Kept in this desktop's keyring."
    std::string serverAddress;  // the one in force
    std::string defaultServerAddress;
    std::optional<bool> startsWithComputer; // absent where that cannot be chosen
    std::string startError;

    // models
    std::vector<Model> models;
    bool modelsChecking = false;

    // meetings
    bool meetingReminders = true;
    bool speakerLabels = true;
    std::vector<Choice> languages;
    std::string language;
    std::vector<Choice> spellings; // two or three
    std::string spelling;

    // dictation
    std::vector<Choice> hotkeys;
    std::string hotkey;
    bool dictationPasteDirectly = true;
    bool dictationCleanUpSpeech = true;
    bool dictationSaveHistory = true;

    // vocabulary
    std::vector<Correction> corrections;
    std::string exampleHeard; // what the editor's empty fields show
    std::string exampleCorrect;

    // what is kept where, and for how long
    std::vector<Kept> kept;
    LeftAudio leftAudio;

    std::string version;

    bool operator==(const SettingsState&) const = default;
};

} // namespace tavrin
