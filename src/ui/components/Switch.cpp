#include "ui/components/Switch.h"

#include "ui/components/FocusRing.h"
#include "ui/components/Painting.h"

#include <QPainter>

namespace tavrin {

Switch::Switch(const Theme& shown, const QString& accessibleName, QWidget* parent)
    : QAbstractButton(parent), theme(shown) {
    setAccessibleName(accessibleName);
    setCheckable(true);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusRadius(*this, 10);
    followTheme(*this, theme);
}

void Switch::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const Token ground = !isEnabled() ? Token::track : isChecked() ? Token::accent : Token::mark;
    fillRounded(painter, rect(), 10, theme.color(ground));
    const double left = isChecked() ? 17 : 3;
    fillRounded(painter, {left, 3, 14, 14}, 7, theme.color(isChecked() ? Token::knobOn : Token::knob));
}

} // namespace tavrin
