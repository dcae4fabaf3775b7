#include "app/CommandLine.h"

namespace tavrin {

std::expected<CommandLine, QString> parseCommandLine(const QStringList& arguments) {
    CommandLine wanted;
    bool onlyAddresses = false;
    for (const QString& argument : arguments.mid(1)) {
        if (onlyAddresses || !argument.startsWith(QLatin1Char('-')))
            wanted.addresses += argument;
        else if (argument == QLatin1String("--"))
            onlyAddresses = true;
        else if (argument == QLatin1String("--start-recording"))
            wanted.action = QStringLiteral("start-recording");
        else
            return std::unexpected(QStringLiteral("unknown option \"%1\"").arg(argument));
    }
    return wanted;
}

} // namespace tavrin
