#pragma once

#include "ui/components/ChoiceRow.h"

namespace tavrin {

/// Two to four short choices side by side.
class Segments final : public ChoiceRow {
    Q_OBJECT

public:
    Segments(const Theme& theme, const QString& accessibleName, const QStringList& names, QWidget* parent = nullptr);

protected:
    QAbstractButton* makeChoice(const QString& name) override;
    void paintEvent(QPaintEvent* event) override;
};

} // namespace tavrin
