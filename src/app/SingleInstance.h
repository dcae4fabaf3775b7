#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <memory>

class QLockFile;

namespace tavrin {

/// One program a user: the first one owns a name on the session bus and takes what later ones were started for.
///
/// It speaks the desktop's own interface for applications, so that launchers, notifications and scripts reach it as
/// well: Activate, Open with addresses, and the actions "start-recording", "pause", "resume", "stop" and "quit".
/// Without a session bus a lock file in the data folder keeps a second one out.
/// Thread: main.
class SingleInstance final : public QObject {
    Q_OBJECT

public:
    enum class Claim { first, handedOver, refused };

    explicit SingleInstance(const QString& lockFolder, QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Tries to be the first. Another one that runs is asked to open `addresses` and to do `action`, or to come forward
    /// if there is neither, within two seconds each; `refused`: it runs but does not answer.
    Claim claim(const QStringList& addresses, const QString& action = {});

Q_SIGNALS:
    void activated();
    void addressesOpened(const QStringList& addresses);
    void actionRequested(const QString& name);

private:
    Claim claimLock();
    static bool handOver(const QStringList& addresses, const QString& action);

    QString lockFolder;
    std::unique_ptr<QLockFile> lock;
};

} // namespace tavrin
