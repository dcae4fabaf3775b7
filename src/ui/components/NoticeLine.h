#pragma once

#include "ui/Theme.h"

#include <QFrame>

namespace tavrin {

class Button;
class Label;

/// A line that says what is the matter where it matters, with at most one action, or a close button.
class NoticeLine final : public QFrame {
    Q_OBJECT

public:
    enum class Kind { info, warning, error };

    NoticeLine(const Theme& theme, Kind kind, const QString& text, QWidget* parent = nullptr);

    void setText(const QString& text);
    [[nodiscard]] QString text() const;
    void setAction(const QString& text);
    void setClosable(bool closable);

signals:
    void actionRequested();
    void closeRequested();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void fit();

    const Theme& theme;
    Kind kind;
    Label* label;
    Button* action;
    Button* close;
};

} // namespace tavrin
