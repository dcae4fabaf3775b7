#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace tavrin {

/// Something that this program is made of or runs.
struct Licence {
    QString name;
    QString licence;
    QString purpose;
};

/// Reads lines of name, licence and purpose with a tab between. A line that is not of three filled parts is left out.
QList<Licence> licencesIn(const QByteArray& table);

/// The table that is built in.
QList<Licence> builtInLicences();

} // namespace tavrin
