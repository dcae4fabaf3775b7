#pragma once

#include "ui/Theme.h"

#include <QComboBox>

namespace tavrin {

/// Chooses one of a list. All of the toolkit's keys work in it.
class Picker final : public QComboBox {
    Q_OBJECT

public:
    /// `name` is what assistive technology says of it; it is shown, too, while nothing is chosen.
    Picker(const Theme& theme, const QString& name, const QString& iconName = {}, QWidget* parent = nullptr);

    /// The width it asks for at a font scale of 1. It may shrink to 96.
    void setPreferredWidth(int pixels);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    const Theme& theme;
    QString iconName;
    int preferredWidth = 224;
};

} // namespace tavrin
