#pragma once

#include "ui/Theme.h"

#include <QWidget>

class QVBoxLayout;

namespace tavrin {

/// What stands where there is nothing yet: a mark, what will appear here, how to make it appear, and at most one
/// control. Centred in whatever room it is given.
class EmptyState final : public QWidget {
    Q_OBJECT

public:
    EmptyState(const Theme& theme, const QString& iconName, const QString& title, const QString& text,
               QWidget* parent = nullptr);

    /// Adds a control or more text below, centred; takes it over.
    void add(QWidget* part, int gapAbove = 12);

private:
    QVBoxLayout* column;
};

} // namespace tavrin
