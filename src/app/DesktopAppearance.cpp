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
const QString contrast = QStringLiteral("contrast");
const QString reducedMotion = QStringLiteral("reduced-motion");
constexpr uint prefersDark = 1;
constexpr uint prefersLight = 2;
constexpr uint prefersMore = 1; // contrast, and a reduction of motion

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
    for (const QString& key : {colorScheme, contrast, reducedMotion})
        ask(key);
}

void DesktopAppearance::ask(const QString& key) {
    QDBusMessage call = QDBusMessage::createMethodCall(portal, portalPath, settingsInterface, QStringLiteral("Read"));
    call << appearance << key;
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call, 2'000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, key] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (reply.isValid()) settingChanged(appearance, key, reply.value());
        watcher->deleteLater();
    });
}

void DesktopAppearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    if (group != appearance) return;
    const uint wish = numberIn(value.variant());
    if (key == contrast) {
        if (theme.hasMoreContrast() != (wish == prefersMore)) theme.setContrast(wish == prefersMore);
    } else if (key == reducedMotion) {
        if (theme.moves() != (wish != prefersMore)) theme.setMotion(wish != prefersMore);
    } else if (key == colorScheme) {
        if (wish == prefersDark || wish == prefersLight) theme.setSystemDark(wish == prefersDark);
    }
}

} // namespace tavrin
