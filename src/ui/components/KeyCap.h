#pragma once

#include "ui/Theme.h"

#include <QLabel>
#include <QStringList>

namespace tavrin {

/// Keys to press, drawn as caps: "Ctrl", "R".
class KeyCap final : public QLabel {
    Q_OBJECT

public:
    KeyCap(const Theme& theme, const QStringList& keys, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] int capWidth(const QString& key) const;

    const Theme& theme;
    QStringList keys;
};

} // namespace tavrin
