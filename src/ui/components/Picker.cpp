#include "ui/components/Picker.h"

#include "ui/components/FocusRing.h"
#include "ui/components/Painting.h"

#include <QPainter>
#include <QStyledItemDelegate>
#include <QWheelEvent>

namespace tavrin {

namespace {

constexpr int padding = 10;
constexpr int glyph = 16;
constexpr int gap = 8;
constexpr double radius = 6;

/// The rows of the list that opens.
class RowDelegate final : public QStyledItemDelegate {
public:
    RowDelegate(const Theme& shown, QObject* parent) : QStyledItemDelegate(parent), theme(shown) {}

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return {QStyledItemDelegate::sizeHint(option, index).width() + 2 * padding, theme.scaled(28)};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const bool selected = option.state.testFlag(QStyle::State_Selected);
        painter->fillRect(option.rect, theme.color(selected ? Token::hover : Token::panel));
        painter->setFont(theme.font(TextStyle::text));
        painter->setPen(theme.color(Token::text));
        const QRect place = option.rect.adjusted(padding, 0, -padding, 0);
        painter->drawText(place, Qt::AlignVCenter | Qt::AlignLeft, index.data().toString());
    }

private:
    const Theme& theme;
};

} // namespace

Picker::Picker(const Theme& shown, const QString& name, const QString& icon, QWidget* parent)
    : QComboBox(parent), theme(shown), iconName(icon) {
    setAccessibleName(name);
    setPlaceholderText(name);
    setFocusPolicy(Qt::TabFocus);
    setItemDelegate(new RowDelegate(theme, this));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setFocusRadius(*this, radius);
    followTheme(*this, theme);
}

void Picker::setPreferredWidth(int pixels) {
    preferredWidth = pixels;
    updateGeometry();
}

QSize Picker::sizeHint() const {
    return {theme.scaled(preferredWidth), theme.scaled(32)};
}

QSize Picker::minimumSizeHint() const {
    return {qMin(96, theme.scaled(preferredWidth)), theme.scaled(32)};
}

void Picker::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QRectF place = rect();
    const bool on = isEnabled();
    fillRounded(painter, place, radius, theme.color(Token::field));
    strokeRounded(painter, place, radius, theme.color(on ? Token::line2 : Token::line), 1);
    const double side = theme.scaled(glyph);
    const double top = (place.height() - side) / 2;
    double left = padding + 1;
    const QColor quiet = theme.color(on ? Token::text2 : Token::disabled);
    if (!iconName.isEmpty()) {
        theme.drawIcon(painter, iconName, {left, top, side, side}, quiet);
        left += side + gap;
    }
    const double right = place.width() - padding - side;
    theme.drawIcon(painter, QStringLiteral("chevron-down"), {right, top, side, side}, quiet);
    const bool chosen = currentIndex() >= 0;
    painter.setFont(theme.font(TextStyle::text));
    painter.setPen(theme.color(!on ? Token::disabled : chosen ? Token::text : Token::text2));
    const QString words = chosen ? currentText() : placeholderText();
    painter.drawText(QPointF(left, centredBaseline(painter.font(), place)),
                     QFontMetricsF(painter.font()).elidedText(words, Qt::ElideRight, right - gap - left));
}

// A page that is scrolled must not change what the mouse happens to pass over.
void Picker::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

} // namespace tavrin
