#include "ui/components/Segments.h"

#include "ui/components/FocusRing.h"
#include "ui/components/Painting.h"

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QPainter>

namespace tavrin {

namespace {

class Segment final : public QAbstractButton {
public:
    Segment(const Theme& shown, QWidget* parent) : QAbstractButton(parent), theme(shown) {
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        setFocusRadius(*this, 4);
    }

    [[nodiscard]] QSize sizeHint() const override {
        return {QFontMetrics(theme.font(TextStyle::textMedium)).horizontalAdvance(text()) + 22, theme.scaled(28)};
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        const QRectF place = QRectF(rect()).adjusted(0, 0, 0, 0);
        if (isChecked()) {
            fillRounded(painter, place, 4, theme.color(Token::segmentOn));
            strokeRounded(painter, place, 4, theme.color(Token::line2), 1);
        }
        painter.setFont(theme.font(isChecked() ? TextStyle::textMedium : TextStyle::text));
        painter.setPen(theme.color(!isEnabled() ? Token::disabled : isChecked() ? Token::text : Token::text2));
        painter.drawText(place, Qt::AlignCenter, text());
    }

private:
    const Theme& theme;
};

} // namespace

Segments::Segments(const Theme& shown, const QString& accessibleName, const QStringList& names, QWidget* parent)
    : ChoiceRow(shown, accessibleName, parent) {
    row->setContentsMargins(2, 2, 2, 2);
    row->setSpacing(0);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setChoices(names);
}

QAbstractButton* Segments::makeChoice(const QString& /*name*/) {
    return new Segment(theme, this);
}

void Segments::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    fillRounded(painter, rect(), 6, theme.color(Token::sunken));
    strokeRounded(painter, rect(), 6, theme.color(Token::line), 1);
}

} // namespace tavrin
