#include "platform/linux/AutostartLoginItem.h"
#include "support/async/TaskTestSupport.h"
#include "support/files/MemoryFolder.h"
#include "support/log/LogCapture.h"

#include <gio/gio.h>

namespace tavrin {
namespace {

using enum LoginItem::Status;

const std::string entry = "so.tavrin.TavrinAssistant.desktop";

class LoginItemTest : public TaskTest {
protected:
    LoginItem::Status statusOf(LoginItem& item) {
        std::optional<LoginItem::Status> status;
        tasks->spawn([&]() -> Task<void> { status = co_await item.status(); });
        time.runUntilIdle();
        return status.value();
    }
    void set(LoginItem& item, bool isEnabled) {
        tasks->spawn(item.setEnabled(isEnabled));
        time.runUntilIdle();
    }
    /// The command line as the desktop's own library reads it from the entry.
    std::vector<std::string> command() {
        GKeyFile* file = g_key_file_new();
        const std::string text = folder.read(entry, 10'000);
        EXPECT_TRUE(g_key_file_load_from_data(file, text.data(), text.size(), G_KEY_FILE_NONE, nullptr));
        gchar* line = g_key_file_get_string(file, "Desktop Entry", "Exec", nullptr);
        gchar** words = nullptr;
        EXPECT_TRUE(g_shell_parse_argv(line, nullptr, &words, nullptr)) << line;
        std::vector<std::string> result;
        for (gchar** word = words; word != nullptr && *word != nullptr; ++word)
            result.emplace_back(*word);
        g_strfreev(words);
        g_free(line);
        g_key_file_free(file);
        return result;
    }

    LogCapture logged;
    MemoryFolder folder;
    Executor& storage = time.addExecutor();
    AutostartLoginItem adapter{folder, "/opt/tavrin/bin/tavrin-assistant", storage};
};

TEST_F(LoginItemTest, starts_any_path_that_a_line_can_hold) {
    for (const char* path : {"/usr/bin/tavrin-assistant", "/home/a b/\"x\"/$HOME/`id`/back\\slash/'q'", "/ü/;&|"}) {
        AutostartLoginItem item(folder, path, storage);
        set(item, true);
        EXPECT_THAT(command(), testing::ElementsAre(path));
    }
    AutostartLoginItem percent(folder, "/a%20b", storage);
    set(percent, true);
    EXPECT_THAT(command(), testing::ElementsAre("/a%%20b")); // a single one would be a field code
    AutostartLoginItem bad(folder, "/a\nExec=evil", storage);
    set(bad, true);
    EXPECT_THAT(errors, testing::ElementsAre(testing::HasSubstr("control characters")));
    EXPECT_THAT(command(), testing::ElementsAre("/a%%20b"));
}

TEST_F(LoginItemTest, counts_what_the_desktops_settings_switched_off) {
    set(adapter, true);
    const std::string good = folder.read(entry, 10'000);
    struct Case {
        std::string text;
        LoginItem::Status status;
    };
    const std::string group = "[Desktop Entry]\nExec=x\n";
    for (const Case& each : {Case{group + "Hidden=true\n", notEnabled}, Case{group + "Hidden = true", notEnabled},
                             Case{group + "X-GNOME-Autostart-enabled=false\n", notEnabled},
                             Case{group + "[Other]\nHidden=true\n", enabled}, Case{"", notEnabled},
                             Case{std::string(2 << 20, 'x'), notEnabled}, Case{good, enabled}}) {
        folder.writeAtomically(entry, each.text);
        EXPECT_EQ(statusOf(adapter), each.status) << each.text.substr(0, 100);
    }
    folder.writeAtomically(entry, group + "Hidden=true\n");
    set(adapter, true);
    EXPECT_EQ(statusOf(adapter), enabled);
    set(adapter, false);
    set(adapter, false);
    EXPECT_EQ(statusOf(adapter), notEnabled);
    EXPECT_THAT(errors, testing::IsEmpty());
}

TEST_F(LoginItemTest, says_what_could_not_be_written) {
    folder.limitCapacity(0);
    set(adapter, true);
    EXPECT_THAT(errors, testing::ElementsAre(testing::StartsWith("Start at login cannot be changed: ")));
    EXPECT_EQ(statusOf(adapter), notEnabled);
}

} // namespace
} // namespace tavrin
