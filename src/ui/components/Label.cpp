#include "ui/components/Label.h"

#include "ui/components/Painting.h"

#include <QPainter>
#include <QTextLayout>
#include <cmath>

namespace tavrin {

Label::Label(const Theme& shown, TextStyle ofStyle, const QString& text, Token inColor, QWidget* parent)
    : QLabel(text, parent), theme(shown), style(ofStyle), color(inColor) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    followTheme(*this, theme);
}

void Label::setColor(Token wanted) {
    if (color == wanted) return;
    color = wanted;
    update();
}

void Label::setStyle(TextStyle wanted) {
    if (style == wanted) return;
    style = wanted;
    updateGeometry();
    update();
}

void Label::setWordWrap(bool wrap) {
    QLabel::setWordWrap(wrap);
    // A fixed height would be that of the hint, whatever the width.
    QSizePolicy policy(QSizePolicy::Preferred, wrap ? QSizePolicy::Preferred : QSizePolicy::Fixed);
    policy.setHeightForWidth(wrap);
    setSizePolicy(policy);
}

void Label::setTabular(bool wanted) {
    tabular = wanted;
    updateGeometry();
}

void Label::setElideMode(Qt::TextElideMode mode) {
    elide = mode;
    update();
}

void Label::setPreferredWidth(int pixels) {
    preferredWidth = pixels;
    updateGeometry();
}

double Label::textWidth() const {
    const QFont font = theme.font(style);
    if (tabular) return tabularWidth(font, text());
    double widest = 0;
    for (const QString& line : text().split(QLatin1Char('\n')))
        widest = qMax(widest, QFontMetricsF(font).horizontalAdvance(line));
    return widest;
}

QSize Label::sizeHint() const {
    int width = int(std::ceil(textWidth())) + 1;
    if (wordWrap() && preferredWidth > 0) width = qMin(width, preferredWidth);
    return {width, wordWrap() ? heightForWidth(width) : theme.lineHeight(style)};
}

QSize Label::minimumSizeHint() const {
    const int natural = sizeHint().width();
    const bool shrinks = sizePolicy().horizontalPolicy() & QSizePolicy::ShrinkFlag;
    return {shrinks ? qMin(theme.scaled(wordWrap() ? 48 : 24), natural) : natural, theme.lineHeight(style)};
}

double Label::layOut(QTextLayout& layout, double width) const {
    QTextOption option(alignment() & Qt::AlignHorizontal_Mask);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    double top = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        const double air = theme.lineHeight(style) - line.ascent() - line.descent();
        line.setPosition({0, top + air / 2});
        top += theme.lineHeight(style);
    }
    layout.endLayout();
    return top;
}

int Label::heightForWidth(int width) const {
    if (!wordWrap()) return theme.lineHeight(style);
    QTextLayout layout(QString(text()).replace(QLatin1Char('\n'), QChar::LineSeparator), theme.font(style));
    return qMax(theme.lineHeight(style), int(std::ceil(layOut(layout, width))));
}

void Label::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QFont font = theme.font(style);
    painter.setFont(font);
    painter.setPen(theme.color(isEnabled() ? color : Token::disabled));
    if (wordWrap()) {
        QTextLayout layout(QString(text()).replace(QLatin1Char('\n'), QChar::LineSeparator), font);
        const double height = layOut(layout, width());
        const double top = alignment() & Qt::AlignTop ? 0 : qMax(0.0, (this->height() - height) / 2);
        layout.draw(&painter, {0, top});
        return;
    }
    const QRectF line = rect();
    const double baseline = centredBaseline(font, line);
    const double natural = textWidth();
    const bool fits = natural <= line.width() + 0.5;
    const QString shown = fits ? text() : QFontMetricsF(font).elidedText(text(), elide, line.width());
    const double width = fits ? natural : line.width();
    double left = 0;
    if (alignment() & Qt::AlignRight) left = line.width() - width;
    if (alignment() & Qt::AlignHCenter) left = (line.width() - width) / 2;
    if (tabular)
        drawTabular(painter, {left, baseline}, shown);
    else
        painter.drawText(QPointF(left, baseline), shown);
}

} // namespace tavrin
