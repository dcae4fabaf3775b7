#pragma once

#include "ui/Theme.h"

#include <QWidget>

namespace tavrin {

/// An icon that only shows something. Assistive technology passes it by.
class IconView final : public QWidget {
    Q_OBJECT

public:
    /// `size` in pixels at a font scale of 1.
    IconView(const Theme& theme, const QString& iconName, int size, Token color, QWidget* parent = nullptr);

    void show(const QString& iconName, Token color);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme;
    QString iconName;
    int size;
    Token color;
};

} // namespace tavrin
