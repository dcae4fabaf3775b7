#pragma once

#include "ui/Theme.h"

#include <QLineEdit>

namespace tavrin {

/// The title of a page, edited where it stands: it looks like a heading until it has the focus. Enter keeps what was
/// written, Esc takes it back.
class TitleField final : public QLineEdit {
    Q_OBJECT

public:
    TitleField(const Theme& theme, const QString& accessibleName, QWidget* parent = nullptr);

    /// Shows a title; not while the user writes in it.
    void showTitle(const QString& title);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

signals:
    void titleEdited(const QString& title);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void dress();
    void finish();

    const Theme& theme;
    QString shownTitle;
};

} // namespace tavrin
