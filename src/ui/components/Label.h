#pragma once

#include "ui/Theme.h"

#include <QLabel>

class QTextLayout;

namespace tavrin {

/// Text of one of the theme's styles, with the style's own distance from line to line.
///
/// One line that is elided where it does not fit, or, after setWordWrap(true), as many as it takes. Plain text only:
/// what comes from outside is never read as markup.
class Label final : public QLabel {
    Q_OBJECT

public:
    Label(const Theme& theme, TextStyle style, const QString& text = {}, Token color = Token::text,
          QWidget* parent = nullptr);

    void setColor(Token color);
    void setStyle(TextStyle style);
    /// As many lines as the text takes, or one.
    void setWordWrap(bool wrap);
    /// Digits of one width, for times and counts.
    void setTabular(bool tabular);
    /// Lets the text be cut in the middle, as paths are.
    void setElideMode(Qt::TextElideMode mode);
    /// The widest that wrapped text asks for. 0: no limit.
    void setPreferredWidth(int pixels);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] double textWidth() const;
    double layOut(QTextLayout& layout, double width) const;

    const Theme& theme;
    TextStyle style;
    Token color;
    Qt::TextElideMode elide = Qt::ElideRight;
    bool tabular = false;
    int preferredWidth = 0;
};

} // namespace tavrin
