#pragma once

#include "app/DesktopAppearance.h"
#include "app/Services.h"
#include "app/TavrinAssistantAppDelegate.h"
#include "ui/MainWindow.h"
#include "ui/Theme.h"
#include "ui/TrayIcon.h"
#include "ui/meeting/MeetingPresenter.h"
#include "ui/meeting/TranscriptPresenter.h"
#include "ui/settings/SettingsPresenter.h"

#include <QApplication>
#include <QObject>
#include <memory>

namespace tavrin {

/// What the user sees of the program: the window, the tray, and how they hang together with the services.
/// Thread: main. Application and services outlive it.
class Shell final : public QObject {
    Q_OBJECT

public:
    Shell(QApplication& application, Executor& main, Services& services);
    ~Shell() override;

    void openMainWindow();
    TavrinAssistantAppDelegate& applicationDelegate() { return delegate; }
    /// "start-recording", "pause", "resume", "stop", "quit"; anything else does nothing.
    void perform(const QString& action);

private:
    void joinDelegate();
    void joinTray();
    void joinWindow();
    void watchDevices();
    void showStatus();
    void closed();
    void quit();

    Executor& main;
    Services& services;
    TavrinAssistantAppDelegate delegate;
    Theme theme;
    DesktopAppearance appearance;
    MainWindow window;
    TrayIcon tray;
    MeetingPresenter meeting;
    TranscriptPresenter transcript;
    SettingsPresenter settings;
    Subscription modelSetup;
    MeetingStatus lastStatus;
    std::shared_ptr<bool> isAlive = std::make_shared<bool>(true);
};

} // namespace tavrin
