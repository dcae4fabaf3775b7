#pragma once

#include "platform/UserNotifications.h"

#include <QObject>
#include <QString>
#include <QStringList>

class QGuiApplication;

namespace tavrin {

/// What the desktop tells the program as a whole, passed on to whom it concerns by one signal each.
/// Thread: main. Lifetime: application and notifications outlive it.
class TavrinAssistantAppDelegate final : public QObject {
    Q_OBJECT

public:
    TavrinAssistantAppDelegate(QGuiApplication& application, UserNotifications& notifications);
    ~TavrinAssistantAppDelegate() override;

    /// Once, when everything stands: the kinds of notifications, and whoever presses their buttons.
    void applicationDidFinishLaunching();
    void applicationDidBecomeActive();
    /// Started again, or called by its icon: the main window comes to the front.
    void applicationShouldHandleReopen();
    /// Closing every window leaves the tray, the bus and a meeting that runs.
    [[nodiscard]] static bool applicationShouldTerminateAfterLastWindowClosed() { return false; }
    /// Addresses of our schemes. The first one counts. What it carries stands in no log.
    void openURLs(const QStringList& addresses);

Q_SIGNALS:
    void tavrinConnectURLReceived(const QString& url);
    void tavrinApplicationDidBecomeActive();
    void tavrinOpenMainWindow();
    void tavrinStartRecordingFromNotification();

private:
    void didReceive(const NotificationResponse& response);

    UserNotifications& notifications;
};

} // namespace tavrin
