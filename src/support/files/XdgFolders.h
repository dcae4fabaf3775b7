#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace tavrin {

/// Where this user's files belong, by the base directory standard of the Linux desktops. A variable that is empty or
/// not an absolute path counts as not set. Immutable, any thread. Nothing is made here.
class XdgFolders final {
public:
    using Path = std::filesystem::path;
    /// The value of an environment variable, absent if not set.
    using Environment = std::function<std::optional<std::string>(const char* name)>;

    /// Throws std::runtime_error if HOME is needed and not set.
    explicit XdgFolders(const Environment& environment);

    /// From the process's environment, HOME from the user database if need be. Call before other threads start.
    static XdgFolders ofThisUser();

    const Path& dataHome() const { return data; }
    const Path& configHome() const { return config; }
    const Path& cacheHome() const { return cache; }
    /// Sockets and the like; absent outside a login session.
    const std::optional<Path>& runtime() const { return runtimeFolder; }

    /// The data home: what stores put "TavrinAssistant/..." under.
    const Path& applicationSupport() const { return data; }
    /// Documents of this program: "TavrinAssistant" in there.
    Path documents() const;
    Path preferences() const;
    Path caches() const;

private:
    Path data;
    Path config;
    Path cache;
    std::optional<Path> runtimeFolder;
};

} // namespace tavrin
