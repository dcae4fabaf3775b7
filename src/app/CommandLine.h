#pragma once

#include <QString>
#include <QStringList>
#include <expected>

namespace tavrin {

/// What the program was started for. A plain value.
struct CommandLine {
    /// Addresses that the desktop has us open.
    QStringList addresses;
    /// As SingleInstance::actionRequested names it; empty for none.
    QString action;
};

/// The exit status where the arguments make no sense.
inline constexpr int commandLineError = 2;
inline constexpr const char* commandLineUsage = "Usage: tavrin-assistant [--start-recording] [ADDRESS]...\n";

/// Reads the program's arguments, its name first, or says which of them makes no sense. "--" ends the options.
[[nodiscard]] std::expected<CommandLine, QString> parseCommandLine(const QStringList& arguments);

} // namespace tavrin
