#include "platform/linux/AutostartLoginItem.h"

#include "support/async/RunOn.h"
#include "support/files/ApplicationNames.h"
#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/log/Log.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tavrin {

namespace {

constexpr Logger logger{"LoginItem"};
constexpr std::uint64_t mostBytes = std::uint64_t{1} << 20;

std::string entryName() {
    return std::string(applicationIdentifier) + ".desktop";
}

/// A program's path as entries quote it: once for the command line, once for the text of the key. Absent for a path
/// that no line can hold.
std::optional<std::string> quotedCommand(const std::string& path) {
    if (!isValidUtf8(path) || std::ranges::any_of(path, [](unsigned char c) { return c < 0x20 || c == 0x7F; }))
        return std::nullopt;
    std::string result = "\"";
    for (const char c : path) {
        if (c == '\\')
            result += "\\\\\\\\";
        else if (c == '"' || c == '`' || c == '$')
            result += std::string("\\\\") + c;
        else if (c == '%')
            result += "%%";
        else
            result += c;
    }
    return result + '"';
}

std::string entryFor(const std::string& command) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Tavrin Assistant\n"
           "Exec=" +
           command +
           "\n"
           "Icon=" +
           std::string(applicationIdentifier) +
           "\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

/// Whether an entry says "key=value" in its main group, blanks apart.
bool says(std::string_view entry, std::string_view key, std::string_view value) {
    bool isInGroup = false;
    for (std::size_t begin = 0; begin < entry.size();) {
        const std::size_t end = std::min(entry.find('\n', begin), entry.size());
        const std::string_view line = trimmed(entry.substr(begin, end - begin));
        begin = end + 1;
        if (line.starts_with('[')) isInGroup = line == "[Desktop Entry]";
        const std::size_t sign = line.find('=');
        if (!isInGroup || sign == std::string_view::npos || trimmed(line.substr(0, sign)) != key) continue;
        if (trimmed(line.substr(sign + 1)) == value) return true;
    }
    return false;
}

LoginItem::Status statusIn(const Folder& folder) {
    using enum LoginItem::Status;
    try {
        if (!folder.info(entryName())) return notEnabled;
        const std::string entry = folder.read(entryName(), mostBytes);
        const bool isOff = says(entry, "Hidden", "true") || says(entry, "X-GNOME-Autostart-enabled", "false") ||
                           !entry.contains("Exec=");
        return isOff ? notEnabled : enabled;
    } catch (const FileError& error) {
        logger.warning("Whether the program starts at login cannot be read: {}", error.what());
        return notEnabled;
    }
}

void change(Folder& folder, const std::filesystem::path& program, bool isEnabled) {
    try {
        if (!isEnabled) {
            folder.remove(entryName());
            return;
        }
        const auto command = quotedCommand(program.string());
        if (!command) throw LoginItemError("The program cannot start at login: its path holds control characters.");
        folder.makeFolders("");
        folder.writeAtomically(entryName(), entryFor(*command));
    } catch (const FileError& error) {
        throw LoginItemError(std::string("Start at login cannot be changed: ") + error.what() + ".");
    }
}

} // namespace

AutostartLoginItem::AutostartLoginItem(Folder& autostart, std::filesystem::path programPath, Executor& storageExecutor)
    : folder(autostart), program(std::move(programPath)), storage(storageExecutor) {}

Task<LoginItem::Status> AutostartLoginItem::status() {
    co_return co_await runOn(storage, [&from = folder](const std::stop_token&) { return statusIn(from); });
}

Task<void> AutostartLoginItem::setEnabled(bool isEnabled) {
    co_await runOn(storage,
                   [&in = folder, path = program, isEnabled](const std::stop_token&) { change(in, path, isEnabled); });
}

} // namespace tavrin
