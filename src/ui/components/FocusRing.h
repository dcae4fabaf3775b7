#pragma once

#include "ui/Theme.h"

#include <QPointer>
#include <QWidget>

namespace tavrin {

/// Draws the ring around whatever has the keyboard's focus, above all else in its window. It shows from the first use
/// of the Tab key and hides with a press of the mouse; controls tell their corner by `setFocusRadius`, and those that
/// do not (fields draw a line of their own) get none. Costs nothing while the focus rests.
class FocusRing final : public QWidget {
    Q_OBJECT

public:
    /// `window` is its parent and owner; the theme outlives both.
    FocusRing(const Theme& theme, QWidget& window);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow(QWidget* focused);
    void place();

    const Theme& theme;
    QPointer<QWidget> target;
};

/// The corner of a control's focus ring. Negative: the ring is drawn inside, for what fills a page.
void setFocusRadius(QWidget& control, double radius);
/// No ring for now: the control shows by itself which part of it has the focus.
void clearFocusRadius(QWidget& control);

} // namespace tavrin
