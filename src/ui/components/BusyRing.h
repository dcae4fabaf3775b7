#pragma once

#include "ui/Theme.h"

#include <QBasicTimer>
#include <QWidget>

namespace tavrin {

/// A turning ring: something is being done whose end is not known. Stands still where things may not move.
class BusyRing final : public QWidget {
    Q_OBJECT

public:
    BusyRing(const Theme& theme, const QString& accessibleName, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override { return {16, 16}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    const Theme& theme;
    QBasicTimer frames;
    int degrees = 0;
};

} // namespace tavrin
