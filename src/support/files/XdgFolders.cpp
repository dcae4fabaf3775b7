#include "support/files/XdgFolders.h"

#include "support/files/ApplicationNames.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace tavrin {

namespace {

using Path = XdgFolders::Path;

std::optional<Path> absolutePath(const XdgFolders::Environment& environment, const char* name) {
    const std::optional<std::string> value = environment(name);
    if (!value || !Path(*value).is_absolute()) return std::nullopt;
    return Path(*value).lexically_normal();
}

Path folder(const XdgFolders::Environment& environment, const char* name, const char* belowHome) {
    if (const auto set = absolutePath(environment, name)) return *set;
    if (const auto home = absolutePath(environment, "HOME")) return *home / belowHome;
    throw std::runtime_error(std::string("neither ") + name + " nor HOME names a folder");
}

} // namespace

XdgFolders::XdgFolders(const Environment& environment)
    : data(folder(environment, "XDG_DATA_HOME", ".local/share")),
      config(folder(environment, "XDG_CONFIG_HOME", ".config")), cache(folder(environment, "XDG_CACHE_HOME", ".cache")),
      runtimeFolder(absolutePath(environment, "XDG_RUNTIME_DIR")) {}

XdgFolders XdgFolders::ofThisUser() {
    return XdgFolders([](const char* name) -> std::optional<std::string> {
        if (const char* value = std::getenv(name); value != nullptr && *value != '\0') return value;
        if (std::string_view(name) != "HOME") return std::nullopt;
        const passwd* user = getpwuid(getuid());
        if (user == nullptr) return std::nullopt;
        return user->pw_dir;
    });
}

Path XdgFolders::documents() const {
    return data / applicationFolderName;
}
Path XdgFolders::preferences() const {
    return config / applicationIdentifier;
}
Path XdgFolders::caches() const {
    return cache / applicationIdentifier;
}

} // namespace tavrin
