#include "ui/components/Row.h"

#include "ui/components/Label.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace tavrin {

Row::Row(const Theme& shown, const QString& title, const QString& caption, QWidget* parent)
    : QWidget(parent), theme(shown), row(new QHBoxLayout(this)),
      aside(new Label(shown, TextStyle::caption, {}, Token::text2, this)),
      captionLabel(new Label(shown, TextStyle::caption, caption, Token::text2, this)) {
    row->setContentsMargins(16, 6, 16, 6);
    row->setSpacing(12);
    auto* words = new QVBoxLayout;
    words->setSpacing(0);
    words->addStretch(1);
    auto* head = new QHBoxLayout;
    head->setSpacing(8);
    head->addWidget(new Label(theme, TextStyle::text, title, Token::text, this));
    head->addWidget(aside);
    head->addStretch(1);
    words->addLayout(head);
    words->addWidget(captionLabel);
    words->addStretch(1);
    captionLabel->setVisible(!caption.isEmpty());
    aside->setTabular(true);
    aside->hide();
    row->addLayout(words, 1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    followTheme(*this, theme);
}

void Row::add(QWidget* part) {
    part->setParent(this);
    row->addWidget(part, 0, Qt::AlignVCenter);
}

void Row::setCaption(const QString& caption) {
    captionLabel->setText(caption);
    captionLabel->setVisible(!caption.isEmpty());
}

void Row::setAside(const QString& words) {
    aside->setText(words);
    aside->setVisible(!words.isEmpty());
}

void Row::setCaptionColor(Token color) {
    captionLabel->setColor(color);
}

void Row::setCaptionElide(Qt::TextElideMode mode) {
    captionLabel->setElideMode(mode);
}

void Row::setLineAbove(bool line) {
    lineAbove = line;
    update();
}

void Row::setMinimumRowHeight(int pixels) {
    leastHeight = pixels;
    updateGeometry();
}

QSize Row::sizeHint() const {
    const QSize inner = row->sizeHint();
    return {inner.width(), qMax(inner.height(), theme.scaled(leastHeight))};
}

QSize Row::minimumSizeHint() const {
    return {row->minimumSize().width(), sizeHint().height()};
}

void Row::paintEvent(QPaintEvent* /*event*/) {
    if (!lineAbove) return;
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, theme.color(Token::line));
}

} // namespace tavrin
