#include "app/TavrinAssistantAppDelegate.h"

#include "support/log/Log.h"

#include <QGuiApplication>
#include <QUrl>

namespace tavrin {

namespace {

constexpr Logger log{"App"};

constexpr const char* meetingReminder = "MEETING_REMINDER";
constexpr const char* startRecording = "START_RECORDING";
constexpr const char* openPrep = "OPEN_PREP";

} // namespace

TavrinAssistantAppDelegate::TavrinAssistantAppDelegate(QGuiApplication& application, UserNotifications& desktop)
    : notifications(desktop) {
    connect(&application, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive) applicationDidBecomeActive();
    });
}

TavrinAssistantAppDelegate::~TavrinAssistantAppDelegate() {
    notifications.setResponseHandler({});
}

void TavrinAssistantAppDelegate::applicationDidFinishLaunching() {
    notifications.setCategories(
        {{.id = meetingReminder,
          .actions = {{.id = startRecording, .title = "Start Recording"}, {.id = openPrep, .title = "Open Prep"}}}});
    notifications.setResponseHandler([this](const NotificationResponse& response) { didReceive(response); });
}

void TavrinAssistantAppDelegate::applicationDidBecomeActive() {
    Q_EMIT tavrinApplicationDidBecomeActive();
}

void TavrinAssistantAppDelegate::applicationShouldHandleReopen() {
    Q_EMIT tavrinOpenMainWindow();
}

void TavrinAssistantAppDelegate::openURLs(const QStringList& addresses) {
    if (addresses.isEmpty()) return;
    log.info("an address of the scheme \"{}\" was opened", QUrl(addresses.first()).scheme().toStdString());
    Q_EMIT tavrinConnectURLReceived(addresses.first());
    Q_EMIT tavrinOpenMainWindow();
}

void TavrinAssistantAppDelegate::didReceive(const NotificationResponse& response) {
    if (response.category == meetingReminder && response.action == startRecording)
        Q_EMIT tavrinStartRecordingFromNotification();
    Q_EMIT tavrinOpenMainWindow();
}

} // namespace tavrin
