#include "support/files/XdgFolders.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

namespace tavrin {
namespace {

XdgFolders foldersWith(const std::map<std::string, std::string>& variables) {
    return XdgFolders([&](const char* name) -> std::optional<std::string> {
        const auto found = variables.find(name);
        if (found == variables.end()) return std::nullopt;
        return found->second;
    });
}

TEST(XdgFolders, defaults_lie_below_home) {
    const XdgFolders folders = foldersWith({{"HOME", "/home/ann"}});
    EXPECT_EQ(folders.applicationSupport(), "/home/ann/.local/share");
    EXPECT_EQ(folders.documents(), "/home/ann/.local/share/TavrinAssistant");
    EXPECT_EQ(folders.preferences(), "/home/ann/.config/so.tavrin.TavrinAssistant");
    EXPECT_EQ(folders.caches(), "/home/ann/.cache/so.tavrin.TavrinAssistant");
    EXPECT_EQ(folders.stateHome(), "/home/ann/.local/state");
    EXPECT_EQ(folders.runtime(), std::nullopt);
}

TEST(XdgFolders, only_absolute_values_are_taken) {
    const XdgFolders folders = foldersWith({{"HOME", "/home/ann"},
                                            {"XDG_DATA_HOME", "/data/"},
                                            {"XDG_CONFIG_HOME", "config"},
                                            {"XDG_CACHE_HOME", ""},
                                            {"XDG_STATE_HOME", "/state"},
                                            {"XDG_RUNTIME_DIR", "/run/user/7"}});
    EXPECT_EQ(folders.documents(), "/data/TavrinAssistant");
    EXPECT_EQ(folders.configHome(), "/home/ann/.config");
    EXPECT_EQ(folders.cacheHome(), "/home/ann/.cache");
    EXPECT_EQ(folders.stateHome(), "/state");
    EXPECT_EQ(folders.runtime(), "/run/user/7");
}

TEST(XdgFolders, without_home_every_folder_must_be_named) {
    EXPECT_THROW(foldersWith({{"HOME", "home"}}), std::runtime_error);
    const XdgFolders folders = foldersWith(
        {{"XDG_DATA_HOME", "/d"}, {"XDG_CONFIG_HOME", "/c"}, {"XDG_CACHE_HOME", "/k"}, {"XDG_STATE_HOME", "/s"}});
    EXPECT_EQ(folders.dataHome(), "/d");
}

} // namespace
} // namespace tavrin
