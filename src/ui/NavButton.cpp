#include "ui/NavButton.h"

#include "ui/components/FocusRing.h"
#include "ui/components/Painting.h"
#include "ui/components/StatusDot.h"

#include <QPainter>

namespace tavrin {

namespace {

constexpr int rowHeight = 32;
constexpr int wideWidth = 191; // the side bar's 208 less its padding and its line
constexpr int airOfCompact = 20;
constexpr int glyph = 20;
constexpr int gap = 10;
constexpr int padding = 8;
constexpr int round = 28;

int rowWidth(const Theme& theme, bool compact) {
    return compact ? theme.scaled(glyph) + airOfCompact : theme.scaled(wideWidth);
}

QString initialsOf(const QString& name) {
    QString initials;
    for (const QString& word : name.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        if (initials.size() < 2) initials += word.front().toUpper();
    return initials;
}

} // namespace

NavButton::NavButton(const Theme& shown, const QString& name, const QString& icon, QWidget* parent)
    : QAbstractButton(parent), theme(shown), iconName(icon), dot(new StatusDot(shown, Token::rec, this)) {
    setText(name);
    setCheckable(true);
    setAutoExclusive(true);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusRadius(*this, 6);
    dot->hide();
    followTheme(*this, theme);
    connect(&theme, &Theme::changed, this, &NavButton::placeDot);
}

void NavButton::setCompact(bool wanted) {
    compact = wanted;
    setToolTip(compact ? text() : QString());
    updateGeometry();
    placeDot();
}

void NavButton::setCount(int wanted) {
    count = wanted;
    setAccessibleDescription(count > 0 ? QString::number(count) : QString());
    update();
}

void NavButton::setLiveTime(const QString& time, bool pulsing) {
    const bool sameLength = live.size() == time.size();
    live = time;
    dot->setVisible(!live.isEmpty());
    dot->setPulsing(pulsing);
    if (!sameLength) placeDot();
    update();
}

QSize NavButton::sizeHint() const {
    return {rowWidth(theme, compact), theme.scaled(rowHeight)};
}

void NavButton::resizeEvent(QResizeEvent* /*event*/) {
    placeDot();
}

void NavButton::placeDot() {
    const double time = tabularWidth(theme.font(TextStyle::captionMedium), live);
    const int left = compact ? width() - 12 : width() - padding - qRound(time) - 6 - 8;
    dot->setGeometry(left, compact ? 4 : (height() - 8) / 2, 8, 8);
}

void NavButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QRectF place = rect();
    const bool on = isChecked();
    if (on || underMouse() || isDown())
        fillRounded(painter, place, 6, theme.color(isDown() ? Token::press : Token::select));
    const double side = theme.scaled(glyph);
    const double left = compact ? (place.width() - side) / 2 : padding;
    theme.drawIcon(painter, iconName, {left, (place.height() - side) / 2, side, side},
                   theme.color(on ? Token::accentText : Token::text2));
    if (compact) return;
    double right = place.width() - padding;
    const QString extra = live.isEmpty() && count > 0 ? QString::number(count) : live;
    const QFont small = theme.font(TextStyle::captionMedium);
    if (!extra.isEmpty()) {
        right -= tabularWidth(small, extra);
        painter.setFont(small);
        painter.setPen(theme.color(live.isEmpty() ? Token::text2 : Token::recText));
        drawTabular(painter, {right, centredBaseline(small, place)}, extra);
        right -= live.isEmpty() ? gap : gap + 14;
    }
    const QFont font = theme.font(on ? TextStyle::textStrong : TextStyle::text);
    const double textLeft = left + side + gap;
    painter.setFont(font);
    painter.setPen(theme.color(Token::text));
    painter.drawText(QPointF(textLeft, centredBaseline(font, place)),
                     QFontMetricsF(font).elidedText(text(), Qt::ElideRight, right - textLeft));
}

AccountButton::AccountButton(const Theme& shown, QWidget* parent) : QAbstractButton(parent), theme(shown) {
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusRadius(*this, 6);
    followTheme(*this, theme);
    setAccount({}, {});
}

void AccountButton::setAccount(const QString& ofName, const QString& ofDetail) {
    name = ofName;
    detail = ofDetail;
    setText(name.isEmpty() ? tr("Not signed in") : name);
    setAccessibleDescription(detail);
    update();
}

void AccountButton::setCompact(bool wanted) {
    compact = wanted;
    setToolTip(compact ? text() : QString());
    updateGeometry();
}

QSize AccountButton::sizeHint() const {
    const int words = theme.lineHeight(TextStyle::text) + theme.lineHeight(TextStyle::caption);
    return {rowWidth(theme, compact), 10 + qMax(theme.scaled(round), compact ? 0 : words) + 4};
}

void AccountButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, theme.color(Token::line));
    const double side = theme.scaled(round);
    const QRectF room(0, 10, width(), height() - 14);
    const QRectF circle(compact ? (width() - side) / 2 : padding, room.center().y() - side / 2, side, side);
    const bool known = !name.isEmpty();
    fillRounded(painter, circle, side / 2, theme.color(known ? Token::accentTint : Token::select));
    painter.setPen(theme.color(Token::accentText));
    painter.setFont(theme.font(TextStyle::captionStrong));
    const double glyphSide = theme.scaled(16);
    if (known)
        painter.drawText(circle, Qt::AlignCenter, initialsOf(name));
    else
        theme.drawIcon(painter, QStringLiteral("person"),
                       {circle.center().x() - glyphSide / 2, circle.center().y() - glyphSide / 2, glyphSide, glyphSide},
                       theme.color(Token::text2));
    if (compact) return;
    const double left = circle.right() + gap;
    const double wide = width() - padding - left;
    QRectF line(left, room.top(), wide, theme.lineHeight(TextStyle::text));
    const bool alone = detail.isEmpty();
    if (alone) line.moveTop(room.center().y() - line.height() / 2);
    const QFont strong = theme.font(TextStyle::textMedium);
    painter.setFont(strong);
    painter.setPen(theme.color(Token::text));
    painter.drawText(QPointF(left, centredBaseline(strong, line)),
                     QFontMetricsF(strong).elidedText(text(), Qt::ElideRight, wide));
    if (alone) return;
    const QRectF below(left, line.bottom(), wide, theme.lineHeight(TextStyle::caption));
    const QFont small = theme.font(known ? TextStyle::caption : TextStyle::captionMedium);
    painter.setFont(small);
    painter.setPen(theme.color(known ? Token::text2 : Token::accentText));
    painter.drawText(QPointF(left, centredBaseline(small, below)),
                     QFontMetricsF(small).elidedText(detail, Qt::ElideRight, wide));
}

} // namespace tavrin
