#pragma once

#include "ui/Theme.h"

#include <QWidget>

namespace tavrin {

class Button;
class Label;
class LineField;

/// A line to look for something in what stands below it: field, "3 of 12", back and on, close. Enter goes on, Shift and
/// Enter back, Esc closes. It knows nothing of what is searched.
class FindBar final : public QWidget {
    Q_OBJECT

public:
    explicit FindBar(const Theme& theme, QWidget* parent = nullptr);

    /// Shows it with the focus in its field, whose text is selected; with this text instead where it is not empty.
    void open(const QString& text);
    void close();
    [[nodiscard]] bool isOpen() const { return !isHidden(); }
    [[nodiscard]] QString text() const;
    /// Which match is shown, from 0, and of how many.
    void setCount(int current, int all);

signals:
    /// What is looked for is another text now.
    void sought(const QString& text);
    /// On (1) or back (-1).
    void stepRequested(int direction);
    void closed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    const Theme& theme;
    LineField* field;
    Label* count;
    Button* back;
    Button* on;
};

} // namespace tavrin
