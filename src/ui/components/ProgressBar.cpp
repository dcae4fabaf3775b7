#include "ui/components/ProgressBar.h"

#include "ui/components/Painting.h"

#include <QPainter>

namespace tavrin {

ProgressBar::ProgressBar(const Theme& shown, const QString& accessibleName, QWidget* parent)
    : QProgressBar(parent), theme(shown) {
    setAccessibleName(accessibleName);
    setTextVisible(false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    followTheme(*this, theme);
}

void ProgressBar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    fillRounded(painter, rect(), 2, theme.color(Token::track));
    if (maximum() <= minimum() || value() <= minimum()) return;
    const double part = double(value() - minimum()) / (maximum() - minimum());
    fillRounded(painter, {0, 0, width() * part, double(height())}, 2, theme.color(Token::accent));
}

} // namespace tavrin
