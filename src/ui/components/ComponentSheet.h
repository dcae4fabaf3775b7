#pragma once

#include "ui/Theme.h"

#include <QWidget>

class QBoxLayout;
class QHBoxLayout;
class QVBoxLayout;

namespace tavrin {

class Card;

/// Every component in every state on one page, to look at. Part of the pictures, not of the program's windows.
class ComponentSheet final : public QWidget {
    Q_OBJECT

public:
    explicit ComponentSheet(const Theme& theme, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Card* card(const QString& title, const QString& measures);
    /// A component with its name below.
    void put(QHBoxLayout& row, QWidget* part, const QString& name);
    Card* buttons();
    Card* fields();
    Card* switches();
    Card* meters();
    Card* rows();
    Card* emptyState();
    Card* type();
    Card* badges();
    Card* transcript();
    Card* tabs();
    Card* notices();

    const Theme& theme;
};

} // namespace tavrin
