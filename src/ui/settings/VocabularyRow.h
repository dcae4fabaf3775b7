#pragma once

#include "ui/Theme.h"
#include "ui/settings/SettingsState.h"

#include <QWidget>

namespace tavrin {

class Button;
class Label;

/// One correction in the list: what was heard, an arrow, what it should be, and two buttons. The keyboard reaches the
/// buttons at any time; they are seen while the mouse is over the row or the focus in it.
class VocabularyRow final : public QWidget {
    Q_OBJECT

public:
    VocabularyRow(const Theme& theme, QWidget* parent);

    using QWidget::show;
    void show(const SettingsState::Correction& correction);
    void focusEdit();
    /// Puts the buttons behind `before` in the order of the Tab key; gives the last one.
    QWidget* followInTabOrder(QWidget* before);

    [[nodiscard]] QSize sizeHint() const override;

signals:
    void editRequested();
    void deleteRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showButtons();

    const Theme& theme;
    Label* heard;
    Label* correct;
    Button* edit;
    Button* remove;
    bool isActive = false;
};

} // namespace tavrin
