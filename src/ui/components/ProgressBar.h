#pragma once

#include "ui/Theme.h"

#include <QProgressBar>

namespace tavrin {

/// How far a piece of work is, as a thin bar. Say beside it what is being done.
class ProgressBar final : public QProgressBar {
    Q_OBJECT

public:
    ProgressBar(const Theme& theme, const QString& accessibleName, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override { return {112, 4}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return {24, 4}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme;
};

} // namespace tavrin
