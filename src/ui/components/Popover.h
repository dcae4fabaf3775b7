#pragma once

#include "ui/Theme.h"

#include <QPointer>
#include <QWidget>

namespace tavrin {

/// A small panel beside something in a window, above all else in it. A child of the window: no window manager is asked.
///
/// Stands 8 below what it belongs to, their left edges together; above it where there is no room below; always 8 inside
/// the window. The focus starts in its first control, cannot leave it by Tab, and goes back to where it was. Esc and a
/// press elsewhere ask to close it. Fades and rises 4 in 140 ms where things may move.
class Popover final : public QWidget {
    Q_OBJECT

public:
    /// `content` becomes its child; `width` is at a font scale of 1. Its owner is the window.
    Popover(const Theme& theme, QWidget& window, QWidget& content, int width);

    /// `beside` is in the window's coordinates.
    void open(const QRect& beside);
    /// What it belongs to has moved.
    void moveBeside(const QRect& beside);
    void close();
    [[nodiscard]] bool isOpen() const { return isVisibleTo(parentWidget()); }
    /// The panel without its shadow, in the window's coordinates.
    [[nodiscard]] QRect panel() const;

signals:
    /// The user wants it gone. Whoever opened it decides.
    void dismissed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void place();
    void appear();
    [[nodiscard]] QList<QWidget*> stops() const;

    const Theme& theme;
    QWidget& inside;
    int width;
    int rise = 0;
    QRect anchor;
    QPointer<QWidget> focusBefore;
};

} // namespace tavrin
