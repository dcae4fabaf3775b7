#pragma once

#include "ui/Theme.h"

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QWidget>

namespace tavrin {

/// A dot of 8 that tells a state by its colour. It pulses where asked to, while it is seen and things may move.
class StatusDot final : public QWidget {
    Q_OBJECT

public:
    StatusDot(const Theme& theme, Token color, QWidget* parent = nullptr);

    void setColor(Token color);
    void setPulsing(bool pulsing);

    [[nodiscard]] QSize sizeHint() const override { return {8, 8}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void startOrStop();

    const Theme& theme;
    Token color;
    bool pulsing = false;
    QElapsedTimer since;
    QBasicTimer frames;
};

} // namespace tavrin
