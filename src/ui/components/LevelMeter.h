#pragma once

#include "ui/Theme.h"
#include "ui/components/MeterMotion.h"

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QProgressBar>

namespace tavrin {

/// The loudness of a lane as a thin bar with a mark at its latest height. Draws 30 times a second while it moves and
/// costs nothing while it is still or hidden. Assistive technology reads it as a value from 0 to 100.
class LevelMeter final : public QProgressBar {
    Q_OBJECT

public:
    LevelMeter(const Theme& theme, Token color, const QString& accessibleName, QWidget* parent = nullptr);

    /// A level of 0 to 1.
    void setLevel(float level);
    /// Shows a level and a mark that stay, for pictures.
    void pin(float level, float mark);

    [[nodiscard]] bool isMoving() const { return frames.isActive(); }

    [[nodiscard]] QSize sizeHint() const override { return {112, 8}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return {24, 8}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    [[nodiscard]] double now() const;
    void tellValue();

    const Theme& theme;
    Token color;
    MeterMotion motion;
    QElapsedTimer clock;
    QBasicTimer frames;
    float pinnedLevel = -1;
    float pinnedMark = 0;
};

} // namespace tavrin
