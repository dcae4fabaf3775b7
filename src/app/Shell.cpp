#include "app/Shell.h"

#include "support/log/Log.h"
#include "ui/ModelSetupSheet.h"
#include "ui/SideBar.h"
#include "ui/meeting/MeetingPage.h"
#include "ui/meeting/TranscriptWindow.h"
#include "ui/settings/SettingsPage.h"

#include <QDesktopServices>
#include <QUrl>

namespace tavrin {

namespace {

constexpr Logger log{"Shell"};

std::string noticeOf(const std::optional<JsonPreferences::Damage>& damage) {
    if (!damage) return {};
    if (damage->keptAs)
        return "The settings could not be read and stand at their defaults. The damaged file is kept as " +
               damage->keptAs->string() + ".";
    return "The settings in " + damage->file.string() +
           " can neither be read nor set aside. What you change here is gone when you quit.";
}

SettingsPresenter::Dependencies settingsOf(Executor& main, Services& services) {
    const auto& folders = services.folders;
    return {.main = main,
            .preferences = services.preferences,
            .settings = services.settings,
            .defaultServerAddress = services.deployment.server.defaultEndpoint,
            .vocabulary = services.vocabulary,
            .exampleHeard = services.deployment.vocabulary.exampleHeard,
            .exampleCorrect = services.deployment.vocabulary.exampleCorrect,
            .loginItem = services.loginItem,
            .credentials = services.credentials,
            .credentialStore = services.credentialStore,
            .models = services.models,
            .folders = services.modelFolders,
            .kept = {.main = main,
                     .storage = services.fileWork(),
                     .applicationSupport = services.userData(),
                     .places = {.recordings = folders.documents() / "Recordings",
                                .models = folders.documents() / "OnDeviceModels",
                                .preferences = folders.preferences(),
                                .diagnostics = folders.documents() / "Diagnostics"},
                     .openMeeting = [&session = services.session] { return session.openMeetingID(); }},
            .notice = noticeOf(services.preferences.damageAtStart()),
            .version = TAVRIN_VERSION};
}

} // namespace

Shell::Shell(QApplication& app, Executor& mainExecutor, Services& all)
    : main(mainExecutor), services(all), delegate(app, services.notifications), theme(app), appearance(theme),
      window(theme), tray(theme), meeting(services.session, services.audioDevices, window.meetingPage()),
      transcript({.vocabulary = services.vocabulary,
                  .preferences = services.preferences,
                  .exampleHeard = services.deployment.vocabulary.exampleHeard,
                  .exampleCorrect = services.deployment.vocabulary.exampleCorrect},
                 window.meetingPage().transcript(), window.transcriptWindow()),
      settings(settingsOf(main, services), window.settingsPage(), window.modelSetup()) {
    joinDelegate();
    joinTray();
    joinWindow();
    watchDevices();
    connect(&settings, &SettingsPresenter::folderOpenRequested, this,
            [](const QString& folder) { QDesktopServices::openUrl(QUrl::fromLocalFile(folder)); });
    connect(&meeting, &MeetingPresenter::changed, this, [this] { showStatus(); });
    showStatus();
}

Shell::~Shell() {
    services.audioDevices.onChange({});
    *isAlive = false;
}

void Shell::openMainWindow() {
    window.raiseToFront();
}

void Shell::perform(const QString& action) {
    auto& session = services.session;
    if (action == QLatin1String("start-recording"))
        session.start();
    else if (action == QLatin1String("pause"))
        session.pauseRecording();
    else if (action == QLatin1String("resume"))
        session.resume();
    else if (action == QLatin1String("stop"))
        session.stop();
    else if (action == QLatin1String("quit"))
        quit();
    else
        log.info("an unknown action was asked for");
}

void Shell::joinDelegate() {
    auto& session = services.session;
    connect(&delegate, &TavrinAssistantAppDelegate::tavrinOpenMainWindow, this, [this] { openMainWindow(); });
    connect(&delegate, &TavrinAssistantAppDelegate::tavrinStartRecordingFromNotification, this,
            [&session] { session.start(); });
    // What the settings show may have been changed elsewhere meanwhile: programs that start at login, model folders.
    connect(&delegate, &TavrinAssistantAppDelegate::tavrinApplicationDidBecomeActive, this, [this] {
        if (window.isVisible() && window.section() == Section::settings) settings.refresh();
    });
}

void Shell::joinTray() {
    auto& session = services.session;
    connect(&tray, &TrayIcon::openRequested, this, [this] { openMainWindow(); });
    connect(&tray, &TrayIcon::startRequested, this, [&session] { session.start(); });
    connect(&tray, &TrayIcon::pauseRequested, this, [&session] { session.pauseRecording(); });
    connect(&tray, &TrayIcon::resumeRequested, this, [&session] { session.resume(); });
    connect(&tray, &TrayIcon::stopRequested, this, [&session] { session.stop(); });
    connect(&tray, &TrayIcon::quitRequested, this, &Shell::quit);
}

void Shell::joinWindow() {
    connect(&window, &MainWindow::quitRequested, this, &Shell::quit);
    connect(&window, &MainWindow::hiddenByUser, this, [this] { closed(); });
    connect(&window, &MainWindow::sectionShown, this, [this](Section section) {
        if (section == Section::settings) settings.refresh();
    });
    connect(&window.meetingPage(), &MeetingPage::elapsedShown, this,
            [this](const QString& time, bool isCapturing) { window.sideBar().setLiveTime(time, isCapturing); });
    auto& wanted = services.session.state.showWhisperModelSetup;
    modelSetup = wanted.observe([this](bool isWanted) {
        if (!isWanted) return;
        openMainWindow();
        window.modelSetup().open();
        services.session.state.showWhisperModelSetup = false;
    });
}

void Shell::watchDevices() {
    services.audioDevices.onChange([this, alive = isAlive] {
        main.post([this, alive] {
            if (*alive) meeting.refresh();
        });
    });
}

/// `QApplication::quit` ends nothing for as long as any window stays, and the icon in a tray may be one.
void Shell::quit() {
    TranscriptWindow& apart = window.transcriptWindow();
    if (apart.isVisible()) apart.close(); // keeps its place
    QApplication::exit();
}

/// A closed window leaves the program in the tray; without a tray it stays on the bus, and a second start opens it.
void Shell::closed() {
    if (!tray.isShown()) log.info("the window is closed; starting the program again opens it");
}

void Shell::showStatus() {
    tray.show(meeting.state());
    const MeetingStatus& status = *services.session.state.status;
    if (status == lastStatus) return;
    lastStatus = status;
    log.info("status: {}", status.phase == MeetingStatus::Phase::error ? "Error" : status.label());
}

} // namespace tavrin
