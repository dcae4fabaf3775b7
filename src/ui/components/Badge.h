#pragma once

#include "ui/Theme.h"

#include <QLabel>

namespace tavrin {

/// A word on a small coloured ground. It never carries an action.
class Badge final : public QLabel {
    Q_OBJECT

public:
    enum class Kind { plain, good, warning, error, them };

    Badge(const Theme& theme, Kind kind, const QString& text, const QString& iconName = {}, QWidget* parent = nullptr);

    void show(Kind kind, const QString& text, const QString& iconName = {});

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme;
    Kind kind;
    QString iconName;
};

} // namespace tavrin
