#include "ui/settings/Licences.h"

#include <QFile>
#include <QStringList>

namespace tavrin {

QList<Licence> licencesIn(const QByteArray& table) {
    QList<Licence> found;
    for (const QString& line : QString::fromUtf8(table).split(QLatin1Char('\n'))) {
        const QStringList parts = line.split(QLatin1Char('\t'));
        if (parts.size() != 3 || parts.contains(QString())) continue;
        found.append({.name = parts[0], .licence = parts[1], .purpose = parts[2]});
    }
    return found;
}

QList<Licence> builtInLicences() {
    QFile file(QStringLiteral(":/tavrin/settings/licences.txt"));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return licencesIn(file.readAll());
}

} // namespace tavrin
