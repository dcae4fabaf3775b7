#pragma once

#include "ui/Theme.h"

#include <QLineEdit>
#include <QWidget>

namespace tavrin {

/// A field of one line, with an optional icon before the text and a message below when what stands in it is wrong.
class LineField final : public QWidget {
    Q_OBJECT

public:
    /// `name` is what assistive technology says of it.
    LineField(const Theme& theme, const QString& name, const QString& placeholder = {}, const QString& iconName = {},
              QWidget* parent = nullptr);

    [[nodiscard]] QLineEdit& edit() { return *input; }
    [[nodiscard]] QString text() const { return input->text(); }
    /// Shows the field as wrong; empty as right again.
    void setError(const QString& message);
    /// Shows the focus line whatever has the focus, for pictures.
    void pinFocus();

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void arrange();
    [[nodiscard]] QRect frame() const;

    const Theme& theme;
    QString iconName;
    QString error;
    QLineEdit* input;
    bool pinned = false;
};

} // namespace tavrin
