#include "app/Deployment.h"
#include "app/QtMainExecutor.h"
#include "app/Services.h"
#include "app/Shell.h"
#include "app/SingleInstance.h"
#include "app/UiHeartbeat.h"
#include "support/files/XdgFolders.h"
#include "support/log/Log.h"

#include <QApplication>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>

namespace tavrin {
namespace {

constexpr Logger log{"App"};

/// Addresses that the desktop has us open.
QStringList addressesOf(const QStringList& arguments) {
    QStringList addresses = arguments.mid(1);
    addresses.removeIf([](const QString& argument) { return argument.startsWith(QLatin1Char('-')); });
    return addresses;
}

std::filesystem::path installedDeployment() {
    return std::filesystem::path(QCoreApplication::applicationDirPath().toStdString()) / ".." / "share" /
           "tavrin-assistant" / "deployment.json";
}

int run(int count, char** arguments) {
    // Threads come later: the environment is read here.
    const XdgFolders folders = XdgFolders::ofThisUser();
    QApplication application(count, arguments);
    QApplication::setApplicationName(QStringLiteral("Tavrin Assistant"));
    QApplication::setDesktopFileName(QStringLiteral("so.tavrin.TavrinAssistant"));
    QApplication::setApplicationVersion(QStringLiteral(TAVRIN_VERSION));
    QApplication::setQuitOnLastWindowClosed(
        TavrinAssistantAppDelegate::applicationShouldTerminateAfterLastWindowClosed());

    SingleInstance instance(QString::fromStdString(folders.documents().string()));
    const QStringList addresses = addressesOf(QApplication::arguments());
    switch (instance.claim(addresses)) {
    case SingleInstance::Claim::first:
        break;
    case SingleInstance::Claim::handedOver:
        return EXIT_SUCCESS;
    case SingleInstance::Claim::refused:
        std::fputs("Tavrin Assistant is running already and does not answer.\n", stderr);
        return EXIT_FAILURE;
    }
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
        delegate.openURLs(addresses);
    });
    return QApplication::exec();
}

} // namespace
} // namespace tavrin

int main(int count, char** arguments) {
    try {
        return tavrin::run(count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Tavrin Assistant cannot start: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
