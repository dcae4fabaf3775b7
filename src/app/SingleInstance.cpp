#include "app/SingleInstance.h"

#include "app/ApplicationInterface.h"
#include "support/files/DiskFolder.h"
#include "support/files/FileError.h"
#include "support/log/Log.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QLockFile>

namespace tavrin {

namespace {

constexpr Logger log{"App"};

const QString busName = QStringLiteral("so.tavrin.TavrinAssistant");
const QString objectPath = QStringLiteral("/so/tavrin/TavrinAssistant");
const QString interfaceName = QStringLiteral("org.freedesktop.Application");
constexpr int answerLimit = 2'000; // ms

/// Calls the one that runs; what tells of the desktop stays empty. False if it does not answer.
bool call(const QString& method, QVariantList values) {
    QDBusMessage message = QDBusMessage::createMethodCall(busName, objectPath, interfaceName, method);
    values.append(QVariantMap());
    message.setArguments(values);
    return QDBusConnection::sessionBus().call(message, QDBus::Block, answerLimit).type() == QDBusMessage::ReplyMessage;
}

} // namespace

SingleInstance::SingleInstance(const QString& folder, QObject* parent) : QObject(parent), lockFolder(folder) {
    new ApplicationInterface(*this); // owned by this object
}

SingleInstance::~SingleInstance() = default;

SingleInstance::Claim SingleInstance::claim(const QStringList& addresses, const QString& action) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return claimLock();
    bus.registerObject(objectPath, this, QDBusConnection::ExportAdaptors);
    if (bus.registerService(busName)) return claimLock();
    bus.unregisterObject(objectPath);
    return handOver(addresses, action) ? Claim::handedOver : Claim::refused;
}

/// Two sessions of one user have a bus each, and the same files.
SingleInstance::Claim SingleInstance::claimLock() {
    try {
        DiskFolder(lockFolder.toStdString()).makeFolders({}); // as all that is kept there: for this user alone
    } catch (const FileError& error) {
        log.warning("The data folder cannot be made: {}", error.what());
    }
    lock = std::make_unique<QLockFile>(lockFolder + QStringLiteral("/running.lock"));
    lock->setStaleLockTime(0);
    return lock->tryLock(100) || lock->error() != QLockFile::LockFailedError ? Claim::first : Claim::refused;
}

bool SingleInstance::handOver(const QStringList& addresses, const QString& action) {
    if (addresses.isEmpty() && action.isEmpty()) return call(QStringLiteral("Activate"), {});
    if (!addresses.isEmpty() && !call(QStringLiteral("Open"), {addresses})) return false;
    return action.isEmpty() || call(QStringLiteral("ActivateAction"), {action, QVariantList()});
}

} // namespace tavrin
