#include "app/CommandLine.h"
#include "app/Deployment.h"
#include "app/QtMainExecutor.h"
#include "app/Services.h"
#include "app/Shell.h"
#include "app/SingleInstance.h"
#include "app/UiHeartbeat.h"
#include "support/files/XdgFolders.h"
#include "support/log/Log.h"

#include <sys/stat.h>

#include <QApplication>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <string_view>

namespace tavrin {
namespace {

constexpr Logger log{"App"};

std::filesystem::path installedDeployment() {
    return std::filesystem::path(QCoreApplication::applicationDirPath().toStdString()) / ".." / "share" /
           "tavrin-assistant" / "deployment.json";
}

/// Where another one runs it gets what this one was started for: what this one then ends with.
std::optional<int> statusBesideAnother(SingleInstance& instance, const CommandLine& wanted) {
    switch (instance.claim(wanted.addresses, wanted.action)) {
    case SingleInstance::Claim::first:
        break;
    case SingleInstance::Claim::handedOver:
        return EXIT_SUCCESS;
    case SingleInstance::Claim::refused:
        std::fputs("Tavrin Assistant is running already and does not answer.\n", stderr);
        return EXIT_FAILURE;
    }
    return std::nullopt;
}

/// Without a screen the toolkit ends a program by an abort.
bool hasScreen(int count, char** arguments) {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        if (!qEnvironmentVariableIsEmpty(name)) return true;
    return std::any_of(arguments, arguments + count,
                       [](std::string_view argument) { return argument.starts_with("-platform"); });
}

int run(int count, char** arguments) {
    if (!hasScreen(count, arguments)) {
        std::fputs("Tavrin Assistant needs a desktop, and neither DISPLAY nor WAYLAND_DISPLAY names one.\n", stderr);
        return EXIT_FAILURE;
    }
    // Threads come later: the environment is read here.
    const XdgFolders folders = XdgFolders::ofThisUser();
    QApplication application(count, arguments);
    QApplication::setApplicationName(QStringLiteral("Tavrin Assistant"));
    QApplication::setDesktopFileName(QStringLiteral("so.tavrin.TavrinAssistant"));
    QApplication::setApplicationVersion(QStringLiteral(TAVRIN_VERSION));
    QApplication::setQuitOnLastWindowClosed(
        TavrinAssistantAppDelegate::applicationShouldTerminateAfterLastWindowClosed());

    const auto wanted = parseCommandLine(QApplication::arguments());
    if (!wanted) {
        std::fprintf(stderr, "tavrin-assistant: %s\n%s", wanted.error().toUtf8().constData(), commandLineUsage);
        return commandLineError;
    }
    SingleInstance instance(QString::fromStdString(folders.documents().string()));
    if (const auto status = statusBesideAnother(instance, *wanted)) return *status;
    const Deployment deployment = Deployment::load(installedDeployment());

    QtMainExecutor main;
    Services services(main, folders, deployment);
    Shell shell(application, main, services);
    auto& delegate = shell.applicationDelegate();
    QObject::connect(&instance, &SingleInstance::activated, &delegate,
                     &TavrinAssistantAppDelegate::applicationShouldHandleReopen);
    QObject::connect(&instance, &SingleInstance::addressesOpened, &delegate, &TavrinAssistantAppDelegate::openURLs);
    QObject::connect(&instance, &SingleInstance::actionRequested, &shell,
                     [&](const QString& action) { shell.perform(action); });
    shell.openMainWindow();
    log.info("the window is up");
    std::optional<UiHeartbeat> heartbeat;
    if (const QString file = qEnvironmentVariable("TAVRIN_HEARTBEAT"); !file.isEmpty()) heartbeat.emplace(file);
    QTimer::singleShot(0, &shell, [&] {
        delegate.applicationDidFinishLaunching();
        services.startBackgroundServices();
        delegate.openURLs(wanted->addresses);
        if (!wanted->action.isEmpty()) shell.perform(wanted->action);
    });
    return QApplication::exec();
}

} // namespace
} // namespace tavrin

int main(int count, char** arguments) {
    umask(077); // whatever is written is for this user alone
    try {
        return tavrin::run(count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Tavrin Assistant cannot start: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
