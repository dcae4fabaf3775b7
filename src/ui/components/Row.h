#pragma once

#include "ui/Theme.h"

#include <QWidget>

class QHBoxLayout;

namespace tavrin {

class Label;

/// A row of a card: a title, perhaps some words beside it, a caption below it if there is one, and what belongs to it
/// at the right. Rows after the first of a card have a line above.
class Row final : public QWidget {
    Q_OBJECT

public:
    Row(const Theme& theme, const QString& title, const QString& caption = {}, QWidget* parent = nullptr);

    /// Puts a control or a label at the right end; takes it over.
    void add(QWidget* part);
    void setCaption(const QString& caption);
    /// A few small words beside the title, such as a size.
    void setAside(const QString& words);
    void setCaptionColor(Token color);
    /// Lets the caption be cut in the middle, as paths are.
    void setCaptionElide(Qt::TextElideMode mode);
    void setLineAbove(bool line);
    void setMinimumRowHeight(int pixels);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme;
    QHBoxLayout* row;
    Label* aside;
    Label* captionLabel;
    bool lineAbove = false;
    int leastHeight = 44;
};

} // namespace tavrin
