#include "Camera.h"
#include "Samples.h"
#include "SettingsShots.h"
#include "ui/MainWindow.h"
#include "ui/ModelSetupSheet.h"
#include "ui/Theme.h"
#include "ui/components/ComponentSheet.h"
#include "ui/components/FindBar.h"
#include "ui/meeting/MeetingHead.h"
#include "ui/meeting/MeetingPage.h"
#include "ui/meeting/TranscriptView.h"
#include "ui/meeting/TranscriptWindow.h"
#include "ui/meeting/TranscriptWords.h"
#include "ui/settings/SettingsPage.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QTextStream>
#include <array>
#include <functional>
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

struct TranscriptShot {
    const char* name;
    std::function<void(MainWindow&)> prepare;
    QSize size = usual;
    double fontScale = 1;
};

/// Opens the editor for the misheard name.
void chooseName(MainWindow& window, bool exists, bool atBottom) {
    TranscriptPane& pane = window.meetingPage().transcript();
    if (exists)
        pane.setCorrectionLookup([](const QString&) {
            return KnownCorrection{QStringLiteral("1"), QStringLiteral("Holden, Holden Foods"),
                                   QStringLiteral("Halden Foods")};
        });
    const auto& lines = pane.view().transcript();
    const QString wanted = atBottom ? QStringLiteral("list") : QStringLiteral("Holden");
    for (int line = 0; line < lines.count(); ++line)
        if (const int at = int(lines.at(line).text.indexOf(wanted)); at >= 0)
            pane.view().moveTo(TextRange{{line, at}, {line, at + int(wanted.size())}});
    pane.view().setFocus();
    pane.view().choosePhrase();
}

void find(TranscriptPane& pane, const char* text) {
    pane.openFind();
    pane.findBar().findChild<QLineEdit*>()->setText(QString::fromLatin1(text));
}

std::vector<TranscriptShot> transcriptShots() {
    const auto scrollToTop = [](MainWindow& window) {
        window.meetingPage().transcript().view().verticalScrollBar()->setValue(0);
    };
    const auto editing = [scrollToTop](bool exists, bool atBottom) {
        return [=](MainWindow& window) {
            if (!atBottom) scrollToTop(window);
            chooseName(window, exists, atBottom);
        };
    };
    const auto finding = [](MainWindow& window) { find(window.meetingPage().transcript(), "the"); };
    const auto zoomed = [](MainWindow& window) { window.meetingPage().transcript().setZoom(1.5); };
    const auto atWord = [](MainWindow& window) {
        auto& view = window.meetingPage().transcript().view();
        view.setFocus();
        view.moveTo(wordFrom(view.transcript(), {1, 30}));
    };
    return {
        {"meeting-finished", [](MainWindow&) {}},
        {"meeting-vocabulary", editing(true, false)},
        {"meeting-vocabulary-above", editing(false, true)},
        {"meeting-vocabulary-small", editing(false, false), small},
        {"meeting-vocabulary-large-type", editing(true, false), small, 2},
        {"meeting-find", finding},
        {"meeting-find-none", [](MainWindow& window) { find(window.meetingPage().transcript(), "lorries"); }, small},
        {"meeting-find-large-type", finding, small, 2},
        {"meeting-word", atWord},
        {"meeting-transcript-150", zoomed},
        {"meeting-finished-small", [](MainWindow&) {}, small},
        {"meeting-finished-large-type", [](MainWindow&) {}, small, 2},
    };
}

void takeTranscripts(Theme& theme, shots::Camera& camera, const QString& suffix) {
    for (const auto& shot : transcriptShots()) {
        theme.setFontScale(shot.fontScale);
        const auto window = makeWindow(theme, Section::meeting);
        window->resize(shot.size);
        window->show();
        QApplication::setActiveWindow(window.get());
        window->meetingPage().show(shots::finished());
        window->meetingPage().setLines(shots::springReview());
        QCoreApplication::processEvents();
        shot.prepare(*window);
        camera.take(*window, QString::fromLatin1(shot.name) + suffix, shot.size);
    }
    theme.setFontScale(1);
}

void takeTranscriptWindow(Theme& theme, shots::Camera& camera, const QString& suffix) {
    for (const auto& [name, scale] :
         {std::pair{"transcript-window", 1.0}, std::pair{"transcript-window-large-type", 2.0}}) {
        theme.setFontScale(scale);
        const auto window = makeWindow(theme, Section::meeting);
        MeetingState state = shots::recording();
        state.title = "Spring launch review";
        window->meetingPage().show(state);
        window->meetingPage().setLines(shots::springReview());
        camera.take(window->transcriptWindow(), QString::fromLatin1(name) + suffix, {560, 640});
        window->transcriptWindow().resize(420, 480);
        QCoreApplication::processEvents();
        find(window->transcriptWindow().pane(), "labels");
        camera.take(window->transcriptWindow(), QString::fromLatin1(name) + QStringLiteral("-find") + suffix,
                    {420, 480});
    }
    theme.setFontScale(1);
}

void takeMenus(Theme& theme, shots::Camera& camera, const QString& suffix) {
    const auto window = makeWindow(theme, Section::meeting);
    window->show();
    window->meetingPage().show(shots::finished());
    window->meetingPage().setLines(shots::springReview());
    window->meetingPage().openExportMenu(QPoint(0, 0));
    auto* menu = window->meetingPage().findChild<QMenu*>();
    menu->setActiveAction(menu->actions().at(1));
    camera.take(*menu, QStringLiteral("menu-export") + suffix, menu->sizeHint());
    menu->close();
}

void takeSections(Theme& theme, shots::Camera& camera, const QString& suffix) {
    constexpr std::array sections{std::pair{Section::home, "home"},
                                  std::pair{Section::today, "today"},
                                  std::pair{Section::screenRecording, "screen"},
                                  std::pair{Section::notes, "notes"},
                                  std::pair{Section::dictation, "dictation"},
                                  std::pair{Section::activity, "activity"}};
    for (const auto& [section, name] : sections) {
        const auto window = makeWindow(theme, section);
        camera.take(*window, QString::fromLatin1(name) + suffix, usual);
    }
    const auto recording = makeWindow(theme, Section::home);
    recording->meetingPage().show(shots::recording());
    camera.take(*recording, QStringLiteral("home-recording") + suffix, usual);
    const auto setup = makeWindow(theme, Section::home);
    setup->modelSetup().setModels(shots::settings().models, true);
    setup->modelSetup().open();
    camera.take(*setup, QStringLiteral("model-setup") + suffix, usual);
    theme.setFontScale(2);
    const auto large = makeWindow(theme, Section::home);
    camera.take(*large, QStringLiteral("home-large-type") + suffix, small);
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
        takeTranscripts(theme, camera, end);
        takeTranscriptWindow(theme, camera, end);
        takeMenus(theme, camera, end);
        takeSections(theme, camera, end);
        shots::takeSettings(theme, camera, end);
    }
    QTextStream(stdout) << camera.written() << " pictures in " << arguments.at(1) << '\n';
    return camera.failed() == 0 ? 0 : 1;
}
