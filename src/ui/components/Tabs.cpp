#include "ui/components/Tabs.h"

#include "ui/components/FocusRing.h"
#include "ui/components/Painting.h"

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QPainter>
#include <cmath>

namespace tavrin {

namespace {

constexpr int tabHeight = 36;
constexpr int gap = 20;
constexpr int narrowGap = 12;

class Tab final : public QAbstractButton {
public:
    Tab(const Theme& shown, QWidget* parent) : QAbstractButton(parent), theme(shown) {
        setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
        setFocusRadius(*this, 4);
    }

    // As wide as it is when chosen, so that choosing moves nothing.
    [[nodiscard]] QSize sizeHint() const override { return {widthIn(isSmall), theme.scaled(tabHeight)}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return {theme.scaled(tabHeight / 2), sizeHint().height()}; }

    [[nodiscard]] int widthIn(bool inSmallType) const {
        const QFontMetricsF chosen(theme.font(inSmallType ? TextStyle::captionStrong : TextStyle::textStrong));
        return int(std::ceil(chosen.horizontalAdvance(text())));
    }
    void setSmall(bool wanted) {
        if (isSmall == wanted) return;
        isSmall = wanted;
        updateGeometry();
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        const QFont font = theme.font(textStyle());
        painter.setFont(font);
        painter.setPen(theme.color(isChecked() || underMouse() ? Token::text : Token::text2));
        const bool fits = widthIn(isSmall) <= width();
        painter.drawText(QPointF(0, centredBaseline(font, rect())),
                         fits ? text() : QFontMetricsF(font).elidedText(text(), Qt::ElideRight, width()));
        if (isChecked()) painter.fillRect(0, height() - 2, width(), 2, theme.color(Token::accent));
    }

private:
    [[nodiscard]] TextStyle textStyle() const {
        if (isSmall) return isChecked() ? TextStyle::captionStrong : TextStyle::caption;
        return isChecked() ? TextStyle::textStrong : TextStyle::text;
    }

    const Theme& theme;
    bool isSmall = false;
};

} // namespace

Tabs::Tabs(const Theme& shown, const QString& accessibleName, const QStringList& names, QWidget* parent)
    : ChoiceRow(shown, accessibleName, parent) {
    row->setSpacing(gap);
    row->addStretch(1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setChoices(names);
    connect(&theme, &Theme::changed, this, &Tabs::fit);
}

QSize Tabs::minimumSizeHint() const {
    return {theme.scaled(tabHeight), theme.scaled(tabHeight)};
}

void Tabs::fit() {
    int natural = -gap;
    QList<Tab*> tabs;
    for (int i = 0; i < row->count(); ++i)
        if (auto* tab = static_cast<Tab*>(row->itemAt(i)->widget())) {
            tabs += tab;
            natural += tab->widthIn(false) + gap;
        }
    const bool isNarrow = natural > width();
    row->setSpacing(isNarrow ? narrowGap : gap);
    for (Tab* tab : tabs)
        tab->setSmall(isNarrow);
}

void Tabs::resizeEvent(QResizeEvent* /*event*/) {
    fit();
}

QAbstractButton* Tabs::makeChoice(const QString& /*name*/) {
    return new Tab(theme, this);
}

void Tabs::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(0, height() - 1, width(), 1, theme.color(Token::line));
}

} // namespace tavrin
