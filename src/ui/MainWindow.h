#pragma once

#include "ui/SideBar.h"
#include "ui/Theme.h"

#include <QWidget>
#include <functional>
#include <memory>

class QStackedWidget;

namespace tavrin {

class HomePage;
class MeetingPage;
class ModelSetupSheet;
class SettingsPage;
class TranscriptWindow;

/// The one large window: side bar, pages, sheets and the keys that work everywhere in it.
///
/// Closing it hides it and says so; the program decides what that means. Knows no session: its pages are filled and
/// heard by presenters. Owner: `main`. Thread: the windows' thread. The theme outlives it.
class MainWindow final : public QWidget {
    Q_OBJECT

public:
    explicit MainWindow(const Theme& theme);
    ~MainWindow() override;

    void showSection(Section section);
    [[nodiscard]] Section section() const;
    /// Shows the window and brings it to the front.
    void raiseToFront();
    /// Shows the transcript in its own window, and brings that to the front.
    void openTranscript();

    [[nodiscard]] MeetingPage& meetingPage() const { return *meeting; }
    [[nodiscard]] SettingsPage& settingsPage() const { return *settings; }
    [[nodiscard]] HomePage& homePage() const { return *home; }
    [[nodiscard]] TranscriptWindow& transcriptWindow() const { return *transcript; }
    [[nodiscard]] ModelSetupSheet& modelSetup() const { return *setup; }
    [[nodiscard]] SideBar& sideBar() const { return *bar; }

signals:
    void sectionShown(Section section);
    void quitRequested();
    /// The user closed the window; it is hidden now.
    void hiddenByUser();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void addPages();
    void addKeys();
    void joinTranscript();
    void addKey(const QKeySequence& keys, const QString& name, const std::function<void()>& action);
    void fit();

    const Theme& theme;
    SideBar* bar;
    QStackedWidget* pages;
    HomePage* home;
    MeetingPage* meeting;
    SettingsPage* settings;
    ModelSetupSheet* setup;
    std::unique_ptr<TranscriptWindow> transcript; // a window of its own
};

} // namespace tavrin
