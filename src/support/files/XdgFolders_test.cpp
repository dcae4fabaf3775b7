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

TEST(XdgFolders, only_absolute_values_are_taken_and_the_defaults_lie_below_home_which_may_be_needed) {
    const XdgFolders folders = foldersWith({{"HOME", "/home/ann"},
                                            {"XDG_DATA_HOME", "/data/"},
                                            {"XDG_CONFIG_HOME", "config"},
                                            {"XDG_CACHE_HOME", ""},
                                            {"XDG_RUNTIME_DIR", "/run/user/7"}});
    EXPECT_EQ(folders.documents(), "/data/TavrinAssistant");
    EXPECT_EQ(folders.preferences(), "/home/ann/.config/so.tavrin.TavrinAssistant");
    EXPECT_EQ(folders.caches(), "/home/ann/.cache/so.tavrin.TavrinAssistant");
    EXPECT_EQ(folders.runtime(), "/run/user/7");
    EXPECT_THROW(foldersWith({{"HOME", "home"}}), std::runtime_error);
    const XdgFolders defaults = foldersWith({{"HOME", "/home/ann"}});
    EXPECT_EQ(defaults.applicationSupport(), "/home/ann/.local/share");
    EXPECT_EQ(defaults.runtime(), std::nullopt);
}

} // namespace
} // namespace tavrin
