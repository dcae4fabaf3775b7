#pragma once

#include "ui/Theme.h"
#include "ui/meeting/MeetingState.h"

#include <QObject>
#include <QSystemTrayIcon>
#include <memory>

class QAction;
class QMenu;

namespace tavrin {

/// The program's face in the desktop's tray: what the meeting is doing, and a menu for it. Where the desktop has no
/// tray there is nothing until one comes. Thread: the windows' thread. The theme outlives it.
class TrayIcon final : public QObject {
    Q_OBJECT

public:
    explicit TrayIcon(const Theme& theme);
    ~TrayIcon() override;

    /// Whether the desktop shows it. While it does not, closing the last window would leave no way back.
    [[nodiscard]] bool isShown() const;
    void show(const MeetingState& state);

signals:
    void openRequested();
    void startRequested();
    void pauseRequested();
    void resumeRequested();
    void stopRequested();
    void quitRequested();

private:
    void fillMenu();
    void drawIcon();

    const Theme& theme;
    std::unique_ptr<QMenu> menu;
    QSystemTrayIcon icon;
    QAction* status = nullptr;
    QAction* start = nullptr;
    QAction* pause = nullptr;
    QAction* resume = nullptr;
    QAction* stop = nullptr;
    bool capturing = false;
};

} // namespace tavrin
