#include "ui/components/Button.h"

#include "ui/components/FocusRing.h"
#include "ui/components/Painting.h"

#include <QKeyEvent>
#include <QPainter>
#include <cmath>

namespace tavrin {

namespace {

constexpr int glyph = 16;
constexpr int gap = 8;
constexpr int linkGap = 4;
constexpr double radius = 6;

} // namespace

Button::Button(const Theme& shown, Kind ofKind, const QString& text, const QString& icon, QWidget* parent)
    : QAbstractButton(parent), theme(shown), kind(ofKind), iconName(icon) {
    setText(text);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setFocusRadius(*this, radius);
    followTheme(*this, theme);
}

Button::Button(const Theme& shown, Kind ofKind, const QString& icon, const QString& name, Size ofSize, QWidget* parent)
    : Button(shown, ofKind, QString(), icon, parent) {
    size = ofSize;
    setAccessibleName(name);
    setToolTip(name);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void Button::setSize(Size wanted) {
    size = wanted;
    updateGeometry();
}

void Button::setKind(Kind wanted) {
    kind = wanted;
    update();
}

void Button::setIconName(const QString& name) {
    iconName = name;
    update();
}

void Button::setIconTurned(bool turned) {
    iconTurned = turned;
    update();
}

void Button::setInk(std::optional<Token> token) {
    ink = token;
    update();
}

void Button::pinLook(Look look) {
    pinned = look;
    setEnabled(look != Look::disabled);
}

int Button::side() const {
    return theme.scaled(size == Size::small ? 28 : 32);
}

int Button::padding() const {
    if (kind == Kind::link) return 0;
    return size == Size::small ? 10 : 12;
}

QSize Button::sizeHint() const {
    if (text().isEmpty()) return {side(), side()};
    const int words = int(std::ceil(QFontMetricsF(theme.font(TextStyle::textMedium)).horizontalAdvance(text())));
    const int picture = iconName.isEmpty() ? 0 : theme.scaled(glyph) + (kind == Kind::link ? linkGap : gap);
    return {words + picture + 2 * padding() + (kind == Kind::link ? 1 : 2), side()};
}

QSize Button::minimumSizeHint() const {
    return sizeHint();
}

Button::Look Button::look() const {
    if (pinned) return *pinned;
    if (!isEnabled()) return Look::disabled;
    if (isDown() || isChecked()) return Look::pressed;
    return underMouse() ? Look::hover : Look::normal;
}

Button::Colors Button::colors(Look look) const {
    const bool hovered = look == Look::hover;
    const bool pressed = look == Look::pressed;
    const bool disabled = look == Look::disabled;
    const Token plainGround = pressed ? Token::press : hovered ? Token::hover : Token::surface;
    switch (kind) {
    case Kind::primary: {
        if (disabled) return {Token::track, Token::track, Token::disabled};
        const Token ground = pressed ? Token::accentPress : hovered ? Token::accentHover : Token::accent;
        return {ground, ground, Token::onAccent};
    }
    case Kind::red: {
        if (disabled) return {Token::surface, Token::line, Token::disabled};
        const Token ground = pressed ? Token::recPress : hovered ? Token::recHover : Token::rec;
        return {ground, ground, Token::onRec};
    }
    case Kind::destructive:
        if (disabled) return {Token::surface, Token::line, Token::disabled};
        if (hovered) return {Token::recTint, Token::rec, Token::recText};
        return {plainGround, Token::line2, Token::recText};
    case Kind::quiet:
        if (disabled) return {Token::clear, Token::clear, Token::disabled};
        return {pressed || hovered ? plainGround : Token::clear, Token::clear, Token::text};
    case Kind::link:
        return {Token::clear, Token::clear, disabled ? Token::disabled : Token::accentText};
    case Kind::normal:
        break;
    }
    return {plainGround, disabled ? Token::line : Token::line2, disabled ? Token::disabled : Token::text};
}

void Button::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const Look now = look();
    const Colors shown = colors(now);
    const QRectF place = rect();
    fillRounded(painter, place, radius, theme.color(shown.ground));
    if (shown.line != shown.ground) strokeRounded(painter, place, radius, theme.color(shown.line), 1);
    const QColor color = theme.color(ink && now != Look::disabled ? *ink : shown.ink);
    const QFont font = theme.font(TextStyle::textMedium);
    const double words = text().isEmpty() ? 0 : QFontMetricsF(font).horizontalAdvance(text());
    const double picture = iconName.isEmpty() ? 0 : theme.scaled(glyph);
    const double between = picture > 0 && words > 0 ? (kind == Kind::link ? linkGap : gap) : 0;
    double left = kind == Kind::link ? 0 : (place.width() - words - picture - between) / 2;
    if (picture > 0) {
        const QRectF icon(std::round(left), std::round((place.height() - picture) / 2), picture, picture);
        painter.save();
        painter.translate(icon.center());
        if (iconTurned) painter.rotate(180);
        theme.drawIcon(painter, iconName, icon.translated(-icon.center()), color);
        painter.restore();
    }
    left += picture + between;
    painter.setFont(font);
    painter.setPen(color);
    if (words > 0) painter.drawText(QPointF(left, centredBaseline(font, place)), text());
}

void Button::enterEvent(QEnterEvent* event) {
    QAbstractButton::enterEvent(event);
    update();
}

void Button::leaveEvent(QEvent* event) {
    QAbstractButton::leaveEvent(event);
    update();
}

void Button::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QAbstractButton::keyPressEvent(event);
}

} // namespace tavrin
