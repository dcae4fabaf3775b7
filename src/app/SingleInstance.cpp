#include "app/SingleInstance.h"

#include "app/ApplicationInterface.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QLockFile>

namespace tavrin {

namespace {

const QString busName = QStringLiteral("so.tavrin.TavrinAssistant");
const QString objectPath = QStringLiteral("/so/tavrin/TavrinAssistant");
const QString interfaceName = QStringLiteral("org.freedesktop.Application");
constexpr int answerLimit = 2'000; // ms

} // namespace

SingleInstance::SingleInstance(const QString& folder, QObject* parent) : QObject(parent), lockFolder(folder) {
    new ApplicationInterface(*this); // owned by this object
}

SingleInstance::~SingleInstance() = default;

SingleInstance::Claim SingleInstance::claim(const QStringList& addresses) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return claimLock();
    bus.registerObject(objectPath, this, QDBusConnection::ExportAdaptors);
    if (bus.registerService(busName)) return claimLock();
    bus.unregisterObject(objectPath);
    return handOver(addresses) ? Claim::handedOver : Claim::refused;
}

/// Two sessions of one user have a bus each, and the same files.
SingleInstance::Claim SingleInstance::claimLock() {
    QDir().mkpath(lockFolder);
    lock = std::make_unique<QLockFile>(lockFolder + QStringLiteral("/running.lock"));
    lock->setStaleLockTime(0);
    return lock->tryLock(100) || lock->error() != QLockFile::LockFailedError ? Claim::first : Claim::refused;
}

bool SingleInstance::handOver(const QStringList& addresses) {
    const bool opens = !addresses.isEmpty();
    QDBusMessage call = QDBusMessage::createMethodCall(busName, objectPath, interfaceName,
                                                       opens ? QStringLiteral("Open") : QStringLiteral("Activate"));
    if (opens) call << addresses;
    call << QVariantMap();
    return QDBusConnection::sessionBus().call(call, QDBus::Block, answerLimit).type() == QDBusMessage::ReplyMessage;
}

} // namespace tavrin
