#pragma once

#include <string>
#include <vector>

namespace tavrin {

/// What the settings page shows. A plain value; texts are UTF-8.
struct SettingsState {
    struct Model {
        enum class Condition { ready, missing, busy, broken };

        std::string name;   // "Meeting model"
        std::string detail; // what it does, or what is wrong with it
        std::string folder; // where it is, or would be
        std::string stateText;
        Condition condition = Condition::missing;

        bool operator==(const Model&) const = default;
    };
    /// One choice of a list: what is kept in the preferences and what is shown.
    struct Choice {
        std::string value;
        std::string name;

        bool operator==(const Choice&) const = default;
    };
    struct Fact {
        std::string name;
        std::string value;

        bool operator==(const Fact&) const = default;
    };

    // account
    bool tokenSaved = false;
    bool tokenSaveEnabled = true;
    std::string tokenState; // "Saved.", or why it was not
    bool tokenStateIsError = false;
    std::string tokenKeptWhere; // "Kept in this desktop's keyring."

    // models
    std::vector<Model> models;
    bool modelsChecking = false;

    // meetings
    std::vector<Choice> languages;
    std::string language;
    std::vector<Choice> spellings; // two or three
    std::string spelling;

    // what is kept where, and for how long
    std::vector<Fact> privacy;

    std::string version;

    bool operator==(const SettingsState&) const = default;
};

} // namespace tavrin
