#pragma once

#include "ui/components/ChoiceRow.h"

namespace tavrin {

/// The tabs of a page, on a line. The chosen one has a mark of 2 below it. Where they do not fit they stand closer and
/// in smaller type, and what does not fit then is cut with dots.
class Tabs final : public ChoiceRow {
    Q_OBJECT

public:
    Tabs(const Theme& theme, const QString& accessibleName, const QStringList& names, QWidget* parent = nullptr);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    QAbstractButton* makeChoice(const QString& name) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void fit();
};

} // namespace tavrin
