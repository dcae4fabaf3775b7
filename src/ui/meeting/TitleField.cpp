#include "ui/meeting/TitleField.h"

#include "ui/components/Painting.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyle>

namespace tavrin {

TitleField::TitleField(const Theme& shown, const QString& accessibleName, QWidget* parent)
    : QLineEdit(parent), theme(shown) {
    constexpr int longestTitle = 400;
    setAccessibleName(accessibleName);
    setFrame(false);
    setMaxLength(longestTitle);
    setTextMargins(-2, 0, -2, 0); // the toolkit keeps 2 free at each side
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(&theme, &Theme::changed, this, &TitleField::dress);
    dress();
}

void TitleField::dress() {
    QPalette palette = this->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, theme.color(Token::text));
    palette.setColor(QPalette::Disabled, QPalette::Text, theme.color(Token::text));
    palette.setColor(QPalette::PlaceholderText, theme.color(Token::text2));
    setPalette(palette);
    setFont(theme.font(TextStyle::page));
    updateGeometry();
}

void TitleField::showTitle(const QString& title) {
    if (shownTitle == title) return;
    shownTitle = title;
    if (hasFocus() && isModified()) return;
    setText(title);
    setCursorPosition(0);
}

QSize TitleField::sizeHint() const {
    return {theme.scaled(240), theme.lineHeight(TextStyle::page)};
}

QSize TitleField::minimumSizeHint() const {
    return {96, theme.lineHeight(TextStyle::page)};
}

void TitleField::finish() {
    if (!isModified() || isReadOnly()) return;
    setModified(false);
    shownTitle = text();
    emit titleEdited(text());
}

void TitleField::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Escape:
        setText(shownTitle);
        clearFocus();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        finish();
        clearFocus();
        break;
    default:
        QLineEdit::keyPressEvent(event);
    }
}

void TitleField::focusOutEvent(QFocusEvent* event) {
    finish();
    QLineEdit::focusOutEvent(event);
    setCursorPosition(0);
}

void TitleField::paintEvent(QPaintEvent* event) {
    if (hasFocus() && !isReadOnly()) {
        QPainter painter(this);
        painter.fillRect(0, height() - 2, width(), 2, theme.color(Token::accent));
    } else if (const QFontMetrics metrics(font()); metrics.horizontalAdvance(text()) > width()) {
        // A title that does not fit ends in dots while nobody writes in it.
        QPainter painter(this);
        painter.setFont(font());
        painter.setPen(theme.color(Token::text));
        painter.drawText(QPointF(0, centredBaseline(font(), rect())),
                         metrics.elidedText(text(), Qt::ElideRight, width()));
        return;
    }
    QLineEdit::paintEvent(event);
}

} // namespace tavrin
