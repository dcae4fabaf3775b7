#include "Camera.h"
#include "Samples.h"
#include "ui/MainWindow.h"
#include "ui/ModelSetupSheet.h"
#include "ui/Theme.h"
#include "ui/components/ComponentSheet.h"
#include "ui/meeting/MeetingHead.h"
#include "ui/meeting/MeetingPage.h"
#include "ui/settings/SettingsPage.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTextStream>
#include <array>
#include <memory>

namespace {

using namespace tavrin;

constexpr QSize usual(1120, 760);
constexpr QSize small(900, 620);

struct MeetingShot {
    const char* name;
    MeetingState state;
    std::vector<TranscriptSegment> lines;
    QSize size = usual;
    double fontScale = 1;
};

std::vector<MeetingShot> meetingShots() {
    const auto talk = shots::conversation();
    const auto german = shots::germanConversation();
    return {
        {"meeting-idle", shots::idle(), {}},
        {"meeting-loading", shots::loading(), {}},
        {"meeting-recording", shots::recording(), talk},
        {"meeting-paused", shots::paused(), talk},
        {"meeting-processing", shots::processing(), talk},
        {"meeting-microphone-only", shots::microphoneOnly(), talk},
        {"meeting-error", shots::failed(), {}},
        {"meeting-restored", shots::restored(), talk},
        {"meeting-small", shots::recording(), talk, small},
        {"meeting-small-german", shots::german(), german, small},
        {"meeting-large-type", shots::recording(), talk, usual, 2},
        {"meeting-small-large-type-german", shots::german(), german, small, 2},
        {"meeting-idle-large-type", shots::idle(), {}, small, 2},
    };
}

std::unique_ptr<MainWindow> makeWindow(const Theme& theme, Section section) {
    auto window = std::make_unique<MainWindow>(theme);
    window->settingsPage().show(shots::settings());
    window->showSection(section);
    return window;
}

void takeMeetings(Theme& theme, shots::Camera& camera, const QString& suffix) {
    for (const auto& shot : meetingShots()) {
        theme.setFontScale(shot.fontScale);
        const auto window = makeWindow(theme, Section::meeting);
        window->resize(shot.size);
        window->show();
        QCoreApplication::processEvents();
        MeetingPage& page = window->meetingPage();
        page.show(shot.state);
        page.setLines(shot.lines);
        page.head().pinLevels(0.58F, 0.66F, 0.71F, 0.82F);
        camera.take(*window, QString::fromLatin1(shot.name) + suffix, shot.size);
    }
    theme.setFontScale(1);
}

void takeSections(Theme& theme, shots::Camera& camera, const QString& suffix) {
    constexpr std::array sections{std::pair{Section::home, "home"},
                                  std::pair{Section::today, "today"},
                                  std::pair{Section::screenRecording, "screen"},
                                  std::pair{Section::notes, "notes"},
                                  std::pair{Section::dictation, "dictation"},
                                  std::pair{Section::activity, "activity"},
                                  std::pair{Section::settings, "settings"}};
    for (const auto& [section, name] : sections) {
        const auto window = makeWindow(theme, section);
        camera.take(*window, QString::fromLatin1(name) + suffix, usual);
    }
    const auto setup = makeWindow(theme, Section::home);
    setup->modelSetup().setModels(shots::settings().models, true);
    setup->modelSetup().open();
    camera.take(*setup, QStringLiteral("model-setup") + suffix, usual);
    theme.setFontScale(2);
    for (const auto& [section, name] : {std::pair{Section::settings, "settings"}, std::pair{Section::home, "home"}}) {
        const auto large = makeWindow(theme, section);
        camera.take(*large, QString::fromLatin1(name) + QStringLiteral("-large-type") + suffix, small);
    }
    theme.setFontScale(1);
}

} // namespace

/// tavrin-shots FOLDER: writes pictures of the views, light and dark, at single and double density.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("TZ", "UTC"); // times in pictures are the same everywhere
    const QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 2 || !QDir().mkpath(arguments.at(1))) {
        QTextStream(stderr)
            << "usage: tavrin-shots FOLDER\nwrites pictures of the views; FOLDER is made if it is missing\n";
        return 2;
    }
    shots::Camera camera(arguments.at(1));
    QElapsedTimer timer;
    timer.start();
    Theme theme(*qApp);
    makeWindow(theme, Section::home)->show();
    QTextStream(stdout) << "a window after " << timer.elapsed() << " ms\n";
    theme.setMotion(false);
    for (const auto& [scheme, suffix] :
         {std::pair{Theme::Scheme::light, "-light"}, std::pair{Theme::Scheme::dark, "-dark"}}) {
        theme.setScheme(scheme);
        const QString end = QString::fromLatin1(suffix);
        ComponentSheet sheet(theme);
        sheet.adjustSize();
        camera.take(sheet, QStringLiteral("components") + end, sheet.size());
        takeMeetings(theme, camera, end);
        takeSections(theme, camera, end);
    }
    QTextStream(stdout) << camera.written() << " pictures in " << arguments.at(1) << '\n';
    return camera.failed() == 0 ? 0 : 1;
}
