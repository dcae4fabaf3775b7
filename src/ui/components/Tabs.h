#pragma once

#include "ui/components/ChoiceRow.h"

namespace tavrin {

/// The tabs of a page, on a line. The chosen one has a mark of 2 below it.
class Tabs final : public ChoiceRow {
    Q_OBJECT

public:
    Tabs(const Theme& theme, const QString& accessibleName, const QStringList& names, QWidget* parent = nullptr);

protected:
    QAbstractButton* makeChoice(const QString& name) override;
    void paintEvent(QPaintEvent* event) override;
};

} // namespace tavrin
