#include "ui/components/Tabs.h"

#include "ui/components/FocusRing.h"
#include "ui/components/Painting.h"

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QPainter>
#include <cmath>

namespace tavrin {

namespace {

class Tab final : public QAbstractButton {
public:
    Tab(const Theme& shown, QWidget* parent) : QAbstractButton(parent), theme(shown) {
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        setFocusRadius(*this, 4);
    }

    // As wide as it is when chosen, so that choosing moves nothing.
    [[nodiscard]] QSize sizeHint() const override {
        const QFontMetricsF chosen(theme.font(TextStyle::textStrong));
        return {int(std::ceil(chosen.horizontalAdvance(text()))), theme.scaled(36)};
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        const QFont font = theme.font(isChecked() ? TextStyle::textStrong : TextStyle::text);
        painter.setFont(font);
        painter.setPen(theme.color(isChecked() || underMouse() ? Token::text : Token::text2));
        painter.drawText(QPointF(0, centredBaseline(font, rect())), text());
        if (isChecked()) painter.fillRect(0, height() - 2, width(), 2, theme.color(Token::accent));
    }

private:
    const Theme& theme;
};

} // namespace

Tabs::Tabs(const Theme& shown, const QString& accessibleName, const QStringList& names, QWidget* parent)
    : ChoiceRow(shown, accessibleName, parent) {
    row->setSpacing(20);
    row->addStretch(1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setChoices(names);
}

QAbstractButton* Tabs::makeChoice(const QString& /*name*/) {
    return new Tab(theme, this);
}

void Tabs::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(0, height() - 1, width(), 1, theme.color(Token::line));
}

} // namespace tavrin
