#include "meeting/EnglishSpellingPreference.h"
#include "meeting/TranscriptionSpeechLanguage.h"
#include "platform/fake/FakeCredentialStore.h"
#include "platform/fake/FakeLoginItem.h"
#include "platform/fake/FakePreferences.h"
#include "support/async/VirtualTime.h"
#include "support/files/MemoryFolder.h"
#include "support/files/TemporaryFolderTestSupport.h"
#include "ui/settings/SettingsPresenter.h"
#include "ui/settings/SettingsTestSupport.h"

#include <QComboBox>
#include <cerrno>
#include <filesystem>
#include <fstream>

namespace tavrin {
namespace {

class SettingsPresenterTest : public SettingsTest {
protected:
    SettingsPresenterTest() {
        support.makeFolders(recordingsPlace);
        run();
        EXPECT_EQ(preferences.changes, 0) << "what moves settings at start comes first";
        presenter.refresh();
        run();
    }

    void run() {
        time.runUntilIdle();
        settle();
    }

    void keep(const char* name, std::size_t bytes) {
        support.writeAtomically(std::string(recordingsPlace) + "/" + name, std::string(bytes, 'x'));
    }

    QComboBox& picker(const char* name) {
        for (auto* each : window.findChildren<QComboBox*>())
            if (each->accessibleName() == QString::fromUtf8(name)) return *each;
        throw std::runtime_error(name);
    }

    /// "heard → correct" of each.
    std::vector<std::string> corrections() {
        std::vector<std::string> list;
        for (const auto& each : vocabulary.loadVocabularyCorrections()) {
            std::string line;
            for (const auto& variant : each.variants)
                line += variant + ";";
            list.push_back(line + each.correct);
        }
        return list;
    }

    static constexpr const char* recordingsPlace = "TavrinAssistant/Recordings";
    static constexpr const char* usualServer = "https://app.tavrin.example";

    VirtualTime time;
    FakePreferences preferences;
    AppSettings settings{preferences, {}};
    VocabularyList vocabulary{preferences, {.names = {"Tavrin"}}, time.main()};
    FakeLoginItem loginItem;
    FakeCredentialStore store;
    CredentialLadder credentials{store};
    ModelFolderResolver folders{preferences, {}, {}};
    WhisperModelService models{time.main(), folders};
    MemoryFolder support;
    TemporaryFolder disk;
    std::optional<std::string> openMeeting;
    SettingsPresenter presenter{
        {.main = time.main(),
         .preferences = preferences,
         .settings = settings,
         .defaultServerAddress = usualServer,
         .vocabulary = vocabulary,
         .exampleHeard = "Marin",
         .exampleCorrect = "Maren",
         .loginItem = loginItem,
         .credentials = credentials,
         .credentialStore = store,
         .models = models,
         .folders = folders,
         .kept = {.main = time.main(),
                  .storage = time.addExecutor(),
                  .applicationSupport = support,
                  .places = {.recordings = "/recordings", .models = disk.path() / "OnDeviceModels"},
                  .openMeeting = [this] { return openMeeting; }},
         .notice = "The settings could not be read.",
         .version = "1.2.3"},
        page,
        window.modelSetup()};
};

TEST_F(SettingsPresenterTest, each_switch_and_choice_writes_its_key_at_once) {
    const std::pair<const char*, const char*> switches[] = {
        {"Meeting reminders", "tavrin.meetingRemindersEnabled"},
        {"Speaker labels", "tavrin.speakerLabelsEnabled"},
        {"Paste into the focused field", "tavrin.dictationPasteDirectly"},
        {"Clean up speech", "tavrin.dictationCleanUpSpeech"},
        {"Save history to Tavrin", "tavrin.dictationSaveHistoryToTavrin"}};
    for (const auto& [name, key] : switches) {
        QAbstractButton& control = button(name);
        EXPECT_TRUE(control.isChecked()) << name;
        click(control);
        EXPECT_EQ(preferences.boolean(key), false) << name;
        press(control, Qt::Key_Space);
        EXPECT_EQ(preferences.boolean(key), true) << name;
        EXPECT_TRUE(control.isChecked()) << name;
    }
    click(button("American"));
    EXPECT_EQ(preferences.string(englishSpellingPreferenceKey), "american");
    press(picker("Speech language"), Qt::Key_Down);
    EXPECT_EQ(preferences.string(transcriptionSpeechLanguageKey), "fr");
    press(picker("Dictation key"), Qt::Key_End);
    EXPECT_EQ(preferences.string("tavrin.dictationHotkey"), "capsLock");
    EXPECT_EQ(picker("Dictation key").currentText(), QStringLiteral("Caps Lock"));
}

TEST_F(SettingsPresenterTest, what_the_desktop_refuses_is_not_shown_as_done) {
    QAbstractButton& start = button("Start with the computer");
    EXPECT_FALSE(start.isChecked());
    click(start);
    run();
    EXPECT_EQ(loginItem.current, LoginItem::Status::enabled);
    EXPECT_TRUE(start.isChecked());
    loginItem.fails = true;
    click(start);
    run();
    EXPECT_TRUE(start.isChecked());
    EXPECT_TRUE(isShown("The login item cannot be changed."));
    loginItem.fails = false;
    loginItem.current = LoginItem::Status::notEnabled; // switched off in the desktop's own settings
    presenter.refresh();
    run();
    EXPECT_FALSE(start.isChecked());
}

TEST_F(SettingsPresenterTest, a_wrong_server_address_is_told_at_its_field_and_changes_nothing) {
    QLineEdit& server = field("Server");
    EXPECT_EQ(server.text().toStdString(), usualServer);
    for (const char* wrong : {"tavrin.example", "ftp://tavrin.example", "https://", "https://tavrin example",
                              "https://me@tavrin.example", "https://tavrin.example/?a=b", "javascript:alert(1)"}) {
        type(server, QString::fromUtf8(wrong));
        press(server, Qt::Key_Return);
        EXPECT_FALSE(server.accessibleDescription().isEmpty()) << wrong;
        EXPECT_EQ(server.text(), QString::fromUtf8(wrong));
        EXPECT_EQ(settings.apiBaseURL(), usualServer) << wrong;
        click(button("Meeting reminders")); // another change of the page leaves the words that were typed
        EXPECT_EQ(server.text(), QString::fromUtf8(wrong));
    }
    press(server, Qt::Key_Escape);
    EXPECT_TRUE(server.accessibleDescription().isEmpty());
    EXPECT_EQ(server.text().toStdString(), usualServer);

    type(server, QStringLiteral(" https://own.example/app/ "));
    press(server, Qt::Key_Return);
    EXPECT_EQ(settings.apiBaseURL(), "https://own.example/app");
    EXPECT_EQ(server.text(), QStringLiteral("https://own.example/app"));
    type(server, {});
    press(server, Qt::Key_Return);
    EXPECT_EQ(preferences.string("tavrin.apiBaseURL"), std::nullopt);
    EXPECT_EQ(server.text().toStdString(), usualServer);
}

TEST_F(SettingsPresenterTest, corrections_are_written_changed_and_deleted_by_keyboard) {
    ASSERT_EQ(corrections(), std::vector<std::string>{"Tavrin;Tavrin"});
    button("Add correction…").setFocus(Qt::TabFocusReason);
    pressAtFocus(Qt::Key_Return);
    EXPECT_EQ(field("What was heard").placeholderText(), QStringLiteral("Marin"));
    type(field("What was heard"), QStringLiteral("Holden, , Holden Foods"));
    pressAtFocus(Qt::Key_Return);
    EXPECT_EQ(corrections().size(), 1) << "nothing says yet what it should be";
    type(field("What it should be"), QStringLiteral("Halden"));
    pressAtFocus(Qt::Key_Return);
    EXPECT_EQ(corrections().back(), "Holden;Holden Foods;Halden");
    EXPECT_EQ(focused(), QStringLiteral("Add correction…"));

    button("Edit the correction to Halden").setFocus(Qt::TabFocusReason);
    pressAtFocus(Qt::Key_Space);
    EXPECT_EQ(field("What was heard").text(), QStringLiteral("Holden, Holden Foods"));
    type(field("What it should be"), QStringLiteral("Halden Foods"));
    pressAtFocus(Qt::Key_Escape);
    EXPECT_EQ(corrections().back(), "Holden;Holden Foods;Halden");
    pressAtFocus(Qt::Key_Space);
    type(field("What it should be"), QStringLiteral("Halden Foods"));
    pressAtFocus(Qt::Key_Return);
    EXPECT_EQ(corrections().back(), "Holden;Holden Foods;Halden Foods");
    EXPECT_EQ(focused(), QStringLiteral("Edit the correction to Halden Foods"));

    // A key that is held down deletes one, not all.
    button("Delete the correction to Tavrin").setFocus(Qt::TabFocusReason);
    pressAtFocus(Qt::Key_Return);
    EXPECT_EQ(corrections(), std::vector<std::string>{"Holden;Holden Foods;Halden Foods"});
    EXPECT_EQ(focused(), QStringLiteral("Edit the correction to Halden Foods"));
    click(button("Delete the correction to Halden Foods"));
    EXPECT_TRUE(corrections().empty());
    EXPECT_TRUE(isShown("No corrections yet. Add one below, or right-click a misheard word in a transcript."));
    EXPECT_EQ(focused(), QStringLiteral("Add correction…"));

    vocabulary.addCorrection({"lindquist"}, "Lindqvist"); // from a transcript
    run();
    EXPECT_TRUE(isShown("Lindqvist"));
    EXPECT_FALSE(isShown("No corrections yet"));
}

TEST_F(SettingsPresenterTest, left_over_audio_is_counted_found_and_deleted_only_at_the_users_word) {
    keep("OLD-me.pcm", 1500);
    keep("KEPT-me.pcm", 20'000);
    keep("KEPT-checkpoint.json", 30);
    keep("OPEN-them.pcm", 7);
    openMeeting = "OPEN";
    EXPECT_TRUE(isShown("None")) << "counted when there was nothing";
    EXPECT_FALSE(button("Delete audio left over from old meetings").isEnabled());
    presenter.refresh();
    run();
    EXPECT_TRUE(isShown("3 files, 22 kB") && isShown("1 file, 30 bytes") && isShown("1 file, 1.5 kB"));
    QStringList asked;
    QObject::connect(&presenter, &SettingsPresenter::folderOpenRequested, [&](const QString& path) { asked += path; });
    click(button("Open the folder of Meeting audio"));
    EXPECT_EQ(asked, QStringList{QStringLiteral("/recordings")});
    EXPECT_FALSE(button("Open the folder of Diagnostics").isEnabled());

    QAbstractButton& remove = button("Delete audio left over from old meetings");
    click(remove);
    pressAtFocus(Qt::Key_Escape);
    run();
    EXPECT_EQ(support.list(recordingsPlace).size(), 4);

    support.failNext(MemoryFolder::Step::remove, EACCES);
    for (const bool fails : {true, false}) {
        click(remove);
        click(button("Delete audio"));
        run();
        EXPECT_EQ(support.info(std::string(recordingsPlace) + "/OLD-me.pcm").has_value(), fails);
        EXPECT_EQ(isShown("Not all of it could be deleted."), fails);
        EXPECT_EQ(remove.isEnabled(), fails);
    }
    EXPECT_EQ(support.list(recordingsPlace).size(), 3);
    EXPECT_TRUE(isShown("2 files, 20 kB"));
}

TEST_F(SettingsPresenterTest, a_token_is_hidden_trimmed_saved_by_enter_and_kept_in_the_field_when_that_fails) {
    QLineEdit& token = field("API token");
    EXPECT_EQ(token.echoMode(), QLineEdit::Password);
    press(token, Qt::Key_Return);
    run();
    EXPECT_TRUE(store.items.empty()) << "nothing was written";
    store.failsToSave = true;
    type(token, QStringLiteral("  abc "));
    press(token, Qt::Key_Return);
    run();
    EXPECT_TRUE(isShown("Failed to save credential."));
    EXPECT_EQ(token.text(), QStringLiteral("  abc "));
    store.failsToSave = false;
    press(token, Qt::Key_Return);
    run();
    ASSERT_EQ(store.items.size(), 1);
    EXPECT_EQ(store.items.begin()->second, "abc");
    EXPECT_TRUE(token.text().isEmpty());
    click(button("Remove"));
    run();
    EXPECT_TRUE(store.items.empty());
}

TEST_F(SettingsPresenterTest, a_damaged_file_is_told_until_the_user_has_read_it) {
    EXPECT_TRUE(isShown("The settings could not be read."));
    click(button("Dismiss"));
    presenter.refresh();
    run();
    EXPECT_FALSE(isShown("The settings could not be read."));
}

TEST_F(SettingsPresenterTest, models_count_wherever_they_lie_and_once) {
    const std::filesystem::path elsewhere = disk.path() / "elsewhere" / "openai_whisper-base";
    std::filesystem::create_directories(elsewhere);
    for (const char* part : {"MelSpectrogram.onnx", "AudioEncoder.onnx", "TextDecoder.onnx"})
        std::ofstream(elsewhere / part) << "1234567";
    EXPECT_FALSE(button("Open the folder of Speech models").isEnabled());
    preferences.set(smallModelFolderKey, elsewhere.string());
    QStringList asked;
    QObject::connect(&presenter, &SettingsPresenter::folderOpenRequested, [&](const QString& path) { asked += path; });
    TaskScope tasks(time.main());
    const auto look = [&] {
        tasks.spawn(models.refresh());
        run();
        EXPECT_TRUE(isShown("3 files, 21 bytes"));
        click(button("Open the folder of Speech models"));
    };
    look();
    // A link in their place leads there.
    const std::filesystem::path place = disk.path() / "OnDeviceModels";
    std::filesystem::create_directories(place);
    std::filesystem::create_directory_symlink(elsewhere, place / "openai_whisper-base");
    preferences.set(smallModelFolderKey, (place / "openai_whisper-base").string());
    look();
    // They lie in it themselves.
    std::filesystem::remove(place / "openai_whisper-base");
    std::filesystem::rename(elsewhere, place / "openai_whisper-base");
    look();
    const auto there = QString::fromStdString(std::filesystem::canonical(disk.path()).string());
    EXPECT_EQ(asked, (QStringList{there + "/elsewhere/openai_whisper-base", there + "/elsewhere/openai_whisper-base",
                                  QString::fromStdString(place.string())}));
}

TEST(KeptAmountsTest, amounts_are_told_by_thousands_and_never_as_a_thousand_of_a_unit) {
    const std::pair<std::uint64_t, const char*> cases[] = {{1, "1 byte"},
                                                           {999, "999 bytes"},
                                                           {1000, "1.0 kB"},
                                                           {9950, "10 kB"},
                                                           {999'499, "999 kB"},
                                                           {999'500, "1.0 MB"},
                                                           {5'000'000'000'000'000, "5000 TB"}};
    for (const auto& [bytes, words] : cases)
        EXPECT_EQ(byteWords(bytes), words);
    EXPECT_EQ(amountWords({.files = 0, .bytes = 0}), "None");
    EXPECT_EQ(amountWords({.files = 1, .bytes = 12}), "1 file, 12 bytes");
    EXPECT_EQ(amountWords({.files = 0, .bytes = 0, .unseen = 2}), "Could not be looked at");
    EXPECT_EQ(amountWords({.files = 2, .bytes = 12, .unseen = 1}), "2 files, 12 bytes; 1 could not be looked at");
    EXPECT_EQ(amountBelow("/nowhere/at/all"), KeptAmounts::Amount{});
}

} // namespace
} // namespace tavrin
