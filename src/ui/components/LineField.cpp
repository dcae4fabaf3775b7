#include "ui/components/LineField.h"

#include "ui/components/Painting.h"

#include <QEvent>
#include <QPainter>

namespace tavrin {

namespace {

constexpr int fieldHeight = 32;
constexpr int padding = 10;
constexpr int iconSize = 16;
constexpr int iconGap = 8;
constexpr double radius = 6;

} // namespace

LineField::LineField(const Theme& shown, const QString& name, const QString& placeholder, const QString& icon,
                     QWidget* parent)
    : QWidget(parent), theme(shown), iconName(icon), input(new QLineEdit(this)) {
    input->setFrame(false);
    input->setAccessibleName(name);
    input->setPlaceholderText(placeholder);
    input->setAttribute(Qt::WA_MacShowFocusRect, false);
    input->installEventFilter(this);
    setFocusProxy(input);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    followTheme(*this, theme);
    connect(&theme, &Theme::changed, this, &LineField::arrange);
    arrange();
}

void LineField::setError(const QString& message) {
    error = message;
    input->setAccessibleDescription(message);
    updateGeometry();
    update();
}

void LineField::pinFocus() {
    pinned = true;
}

QRect LineField::frame() const {
    return {0, 0, width(), theme.scaled(fieldHeight)};
}

QSize LineField::sizeHint() const {
    const int below = error.isEmpty() ? 0 : 4 + theme.lineHeight(TextStyle::caption);
    return {160, theme.scaled(fieldHeight) + below};
}

void LineField::arrange() {
    QPalette palette = input->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, theme.color(Token::text));
    palette.setColor(QPalette::Disabled, QPalette::Text, theme.color(Token::disabled));
    palette.setColor(QPalette::PlaceholderText, theme.color(Token::text2));
    input->setPalette(palette);
    input->setFont(theme.font(TextStyle::text));
    const int left = padding - 2 + (iconName.isEmpty() ? 0 : theme.scaled(iconSize) + iconGap);
    input->setGeometry(frame().adjusted(left, 2, 2 - padding, -2));
}

void LineField::resizeEvent(QResizeEvent* /*event*/) {
    arrange();
}

bool LineField::eventFilter(QObject* /*watched*/, QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut || event->type() == QEvent::EnabledChange)
        update();
    return false;
}

void LineField::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QRectF place = frame();
    fillRounded(painter, place, radius, theme.color(Token::field));
    Token line = isEnabled() ? Token::line2 : Token::line;
    const bool focused = pinned || input->hasFocus();
    if (focused) line = Token::accent;
    if (!error.isEmpty()) line = Token::rec;
    strokeRounded(painter, place, radius, theme.color(line), focused ? 2 : 1);
    const double side = theme.scaled(iconSize);
    const QColor quiet = theme.color(isEnabled() ? Token::text2 : Token::disabled);
    if (!iconName.isEmpty())
        theme.drawIcon(painter, iconName, {padding, (place.height() - side) / 2, side, side}, quiet);
    if (error.isEmpty()) return;
    const QRectF below(0, place.bottom() + 4, width(), theme.lineHeight(TextStyle::caption));
    const double mark = theme.scaled(14);
    theme.drawIcon(painter, QStringLiteral("warning"), {0, below.top() + 1, mark, mark}, theme.color(Token::recText));
    painter.setFont(theme.font(TextStyle::caption));
    painter.setPen(theme.color(Token::recText));
    painter.drawText(QPointF(mark + 4, centredBaseline(painter.font(), below)), error);
}

} // namespace tavrin
