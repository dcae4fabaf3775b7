#include "app/DesktopAppearance.h"

#include "ui/Theme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace tavrin {

namespace {

const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");
constexpr uint prefersDark = 1;
constexpr uint prefersLight = 2;

/// Answers come as a variant within a variant.
uint numberIn(QVariant value) {
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.toUInt();
}

} // namespace

DesktopAppearance::DesktopAppearance(Theme& shown) : theme(shown) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    bus.connect(portal, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
                SLOT(settingChanged(QString, QString, QDBusVariant)));
    ask();
}

void DesktopAppearance::ask() {
    QDBusMessage call = QDBusMessage::createMethodCall(portal, portalPath, settingsInterface, QStringLiteral("Read"));
    call << appearance << colorScheme;
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call, 2'000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (reply.isValid()) settingChanged(appearance, colorScheme, reply.value());
        watcher->deleteLater();
    });
}

void DesktopAppearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    if (group != appearance || key != colorScheme) return;
    const uint wish = numberIn(value.variant());
    if (wish == prefersDark || wish == prefersLight) theme.setSystemDark(wish == prefersDark);
}

} // namespace tavrin
