#pragma once

#include "ui/Theme.h"

#include <QWidget>

namespace tavrin {

/// A line between rows.
class Line final : public QWidget {
    Q_OBJECT

public:
    explicit Line(const Theme& theme, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme;
};

} // namespace tavrin
