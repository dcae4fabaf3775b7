#include "platform/fake/FakePreferences.h"
#include "server/FormerIdentity.h"
#include "support/files/DiskFolder.h"
#include "support/files/TemporaryFolderTestSupport.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace tavrin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Real files below a temporary folder.
class FormerIdentityTest : public testing::Test {
protected:
    FormerIdentityTest() {
        configuration.makeFolders("");
        data.makeFolders("");
    }

    void formerFile(const std::string& text) { configuration.writeAtomically("preferences.json", text); }
    void folderWith(const std::string& folder, const std::string& text) {
        data.makeFolders(folder);
        data.writeAtomically(folder + "/file", text);
    }
    void migrate() { migrateFromFormerIdentityIfNeeded(preferences, configuration, data); }

    LogCapture logged;
    const TemporaryFolder disk;
    DiskFolder configuration{disk.path() / "config" / formerApplicationIdentifier};
    DiskFolder data{disk.path() / "data"};
    FakePreferences preferences;
};

TEST_F(FormerIdentityTest, values_are_copied_where_there_is_none_and_the_former_file_stays) {
    const std::string text = R"({"lorvex.apiBaseURL":"file","lorvex.lastClientID":"file",
        "lorvex.dictationSaveHistoryToTavrin":true,"lorvex.dictationSaveHistoryToLorvex":false,
        "lorvex.activityExcludedDomains":["a","b"],"lorvex.activityRecentlySeenApps":[{"bundleID":"x","name":"y"}],
        "lorvex.fnUsageTypeBackup":-1,"lorvex.meetingReminders.notified":null,"lorvex.unknown":1})";
    formerFile(text);
    preferences.set("lorvex.apiBaseURL", std::string("store"));
    preferences.set("lorvex.lastWorkspaceID", std::string("store"));
    preferences.set("tavrin.lastClientID", std::string("own"));
    migrate();
    EXPECT_EQ(preferences.string("tavrin.apiBaseURL"), "store");
    EXPECT_EQ(preferences.string("tavrin.lastWorkspaceID"), "store");
    EXPECT_EQ(preferences.string("tavrin.lastClientID"), "own");
    EXPECT_EQ(preferences.boolean("tavrin.dictationSaveHistoryToTavrin"), false);
    EXPECT_THAT(*preferences.strings("tavrin.activityExcludedDomains"), ElementsAre("a", "b"));
    EXPECT_EQ((*preferences.json("tavrin.activityRecentlySeenApps"))[0]["name"], "y");
    EXPECT_EQ(preferences.integer("tavrin.fnUsageTypeBackup"), -1);
    EXPECT_FALSE(preferences.value("tavrin.meetingReminders.notified"));
    EXPECT_FALSE(preferences.value("tavrin.unknown"));
    EXPECT_EQ(preferences.string("lorvex.apiBaseURL"), "store");
    EXPECT_EQ(configuration.read("preferences.json", 10'000), text);
    EXPECT_TRUE(logged.contains("6 preferences"));
}

TEST_F(FormerIdentityTest, folders_move_where_there_is_none_and_never_twice) {
    folderWith("LorvexAssistant/Notes", "notes");
    folderWith("LorvexAssistant/Recordings", "former");
    folderWith("TavrinAssistant/Recordings", "own");
    data.writeAtomically("LorvexAssistant/Activity", "not a folder");
    migrate();
    EXPECT_EQ(data.read("TavrinAssistant/Notes/file", 100), "notes");
    EXPECT_EQ(data.read("TavrinAssistant/Recordings/file", 100), "own");
    EXPECT_EQ(data.read("LorvexAssistant/Recordings/file", 100), "former");
    EXPECT_THAT(data.list("LorvexAssistant"), ElementsAre("Activity", "Recordings"));
    folderWith("LorvexAssistant/Notes", "later");
    data.removeTree("TavrinAssistant/Notes");
    preferences.set("lorvex.lastClientID", std::string("later"));
    migrate();
    EXPECT_EQ(data.read("LorvexAssistant/Notes/file", 100), "later");
    EXPECT_FALSE(preferences.value("tavrin.lastClientID"));
}

TEST_F(FormerIdentityTest, a_move_that_fails_loses_nothing_and_the_next_is_tried) {
    folderWith("LorvexAssistant/Notes", "notes");
    folderWith("LorvexAssistant/Activity", "activity");
    data.makeFolders("TavrinAssistant");
    // A folder cannot replace a link.
    std::filesystem::create_symlink("nowhere", disk.path() / "data/TavrinAssistant/Notes");
    migrate();
    EXPECT_EQ(data.read("LorvexAssistant/Notes/file", 100), "notes");
    EXPECT_EQ(data.read("TavrinAssistant/Activity/file", 100), "activity");
    EXPECT_TRUE(logged.contains("stays where it is"));
    EXPECT_EQ(preferences.boolean("tavrin.didMigrateFromLorvexIdentity"), true);
}

TEST_F(FormerIdentityTest, damaged_or_missing_former_preferences_are_passed_over) {
    for (const char* bad : {"{\"lorvex.lastClientID\":", "[1]"}) {
        formerFile(bad);
        preferences = {};
        preferences.set("lorvex.lastWorkspaceID", std::string("store"));
        migrate();
        EXPECT_EQ(preferences.string("tavrin.lastWorkspaceID"), "store");
        EXPECT_FALSE(preferences.value("tavrin.lastClientID"));
        EXPECT_EQ(configuration.read("preferences.json", 100), bad);
    }
    EXPECT_TRUE(logged.contains("damaged"));
    preferences = {};
    configuration.remove("preferences.json");
    migrate();
    EXPECT_EQ(preferences.boolean("tavrin.didMigrateFromLorvexIdentity"), true);
    EXPECT_THAT(data.list(""), IsEmpty());
}

} // namespace
} // namespace tavrin
