#pragma once

#include "ui/Theme.h"

#include <QAbstractButton>

namespace tavrin {

/// Something that is on or off at once.
class Switch final : public QAbstractButton {
    Q_OBJECT

public:
    Switch(const Theme& theme, const QString& accessibleName, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override { return {34, 20}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme;
};

} // namespace tavrin
