#pragma once

#include "ui/Theme.h"

#include <QFrame>

class QVBoxLayout;

namespace tavrin {

/// A framed surface that holds rows or anything else, from top to bottom.
class Card final : public QFrame {
    Q_OBJECT

public:
    explicit Card(const Theme& theme, QWidget* parent = nullptr);

    /// A sunken ground without a line, for a box within a panel.
    void setSunken(bool sunken);

    /// No margins and no spacing: rows reach from edge to edge. Others set their own margins on it.
    [[nodiscard]] QVBoxLayout& content() { return *layout; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme;
    QVBoxLayout* layout;
    bool sunken = false;
};

} // namespace tavrin
