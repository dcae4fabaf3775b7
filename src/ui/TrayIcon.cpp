#include "ui/TrayIcon.h"

#include "ui/PlatformWords.h"

#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

namespace tavrin {

namespace {

constexpr int glyph = 18;

} // namespace

TrayIcon::TrayIcon(const Theme& shown) : theme(shown), menu(std::make_unique<QMenu>()) {
    fillMenu();
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        icon = std::make_unique<QSystemTrayIcon>();
        icon->setContextMenu(menu.get());
        connect(icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger) emit openRequested();
        });
        connect(&theme, &Theme::changed, this, &TrayIcon::drawIcon);
    }
    show(MeetingState{.statusText = "Idle"});
    drawIcon();
    if (icon) icon->show();
}

TrayIcon::~TrayIcon() = default;

bool TrayIcon::isShown() const {
    return icon && icon->isVisible();
}

void TrayIcon::fillMenu() {
    status = menu->addAction(QString());
    status->setEnabled(false);
    menu->addSeparator();
    start = menu->addAction(tr("Start Recording"), this, &TrayIcon::startRequested);
    pause = menu->addAction(tr("Pause"), this, &TrayIcon::pauseRequested);
    resume = menu->addAction(tr("Resume"), this, &TrayIcon::resumeRequested);
    stop = menu->addAction(tr("Stop"), this, &TrayIcon::stopRequested);
    menu->addSeparator();
    menu->addAction(tr("Open Tavrin Assistant"), this, &TrayIcon::openRequested);
    menu->addAction(tr("Quit Tavrin Assistant"), this, &TrayIcon::quitRequested);
}

void TrayIcon::show(const MeetingState& state) {
    const bool open = isOpen(state.phase);
    const QString words = platformWords(state.statusText);
    status->setText(words);
    start->setVisible(!open);
    start->setEnabled(state.startEnabled);
    pause->setVisible(isCapturing(state.phase));
    resume->setVisible(state.phase == MeetingPhase::paused);
    stop->setVisible(open);
    stop->setEnabled(state.stopEnabled);
    if (icon) icon->setToolTip(tr("Tavrin Assistant — %1").arg(words));
    if (capturing == isCapturing(state.phase)) return;
    capturing = isCapturing(state.phase);
    drawIcon();
}

void TrayIcon::drawIcon() {
    if (!icon) return;
    const QString name = capturing ? QStringLiteral("tray-recording") : QStringLiteral("tray");
    QIcon picture;
    for (const double ratio : {1.0, 2.0})
        picture.addPixmap(theme.icon(name, glyph, theme.color(Token::text), ratio));
    icon->setIcon(picture);
}

} // namespace tavrin
