#pragma once

#include "ui/Theme.h"

#include <QLabel>

namespace tavrin {

/// Names a device that is in use, with its icon. It cannot be changed here.
class DeviceChip final : public QLabel {
    Q_OBJECT

public:
    DeviceChip(const Theme& theme, const QString& iconName, const QString& accessibleName, QWidget* parent = nullptr);

    /// Assistive technology reads the device as what describes the chip.
    void setText(const QString& device);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme;
    QString iconName;
};

} // namespace tavrin
