#include "ui/TrayIcon.h"

#include "ui/PlatformWords.h"

#include <QIcon>
#include <QMenu>
#include <QPainter>

namespace tavrin {

namespace {

/// The program's tile, with a dot while sound is recorded. Nobody says whether a tray is light or dark, and a tile can
/// be told from both.
QPixmap tile(const Theme& theme, int size, bool withDot) {
    QPixmap picture =
        theme.icon(size < 24 ? QStringLiteral("app-16") : QStringLiteral("app"), size, theme.color(Token::text), 1);
    if (!withDot) return picture;
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double radius = size * 0.2;
    const QPointF center(size - radius, size - radius);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.drawEllipse(center, radius * 1.35, radius * 1.35);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setBrush(theme.color(Token::rec));
    painter.drawEllipse(center, radius, radius);
    return picture;
}

} // namespace

TrayIcon::TrayIcon(const Theme& shown) : theme(shown), menu(std::make_unique<QMenu>()) {
    fillMenu();
    icon.setContextMenu(menu.get());
    connect(&icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) emit openRequested();
    });
    connect(&theme, &Theme::changed, this, &TrayIcon::drawIcon);
    show(MeetingState{.statusText = "Idle"});
    drawIcon();
    icon.show(); // a tray that comes later, as at the start of a desktop, takes it then
}

TrayIcon::~TrayIcon() = default;

bool TrayIcon::isShown() const {
    return QSystemTrayIcon::isSystemTrayAvailable() && icon.isVisible();
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
    icon.setToolTip(tr("Tavrin Assistant — %1").arg(words));
    if (capturing == isCapturing(state.phase)) return;
    capturing = isCapturing(state.phase);
    drawIcon();
}

void TrayIcon::drawIcon() {
    QIcon picture;
    for (const int size : {16, 22, 24, 32, 48})
        picture.addPixmap(tile(theme, size, capturing));
    icon.setIcon(picture);
}

} // namespace tavrin
