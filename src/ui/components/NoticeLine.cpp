#include "ui/components/NoticeLine.h"

#include "ui/components/Button.h"
#include "ui/components/Label.h"
#include "ui/components/Painting.h"

#include <QHBoxLayout>
#include <QPainter>

namespace tavrin {

namespace {

constexpr int iconSize = 16;
constexpr int padding = 12;
constexpr int gap = 10;

struct Colors {
    Token ground;
    Token line;
    Token ink;
};

Colors colorsOf(NoticeLine::Kind kind) {
    switch (kind) {
    case NoticeLine::Kind::warning:
        return {Token::warnTint, Token::warnLine, Token::warnText};
    case NoticeLine::Kind::error:
        return {Token::recTint, Token::recTint, Token::recText};
    case NoticeLine::Kind::info:
        break;
    }
    return {Token::sunken, Token::line, Token::text};
}

} // namespace

NoticeLine::NoticeLine(const Theme& shown, Kind ofKind, const QString& text, QWidget* parent)
    : QFrame(parent), theme(shown), kind(ofKind),
      label(new Label(shown, TextStyle::text, text, colorsOf(ofKind).ink, this)),
      action(new Button(shown, Button::Kind::normal, QString(), QString(), this)),
      close(new Button(shown, Button::Kind::quiet, QStringLiteral("close"), tr("Dismiss"), Button::Size::small, this)) {
    label->setWordWrap(true);
    action->setSize(Button::Size::small);
    action->hide();
    close->setInk(colorsOf(kind).ink);
    close->hide();
    auto* row = new QHBoxLayout(this);
    row->setSpacing(gap);
    row->addWidget(label, 1);
    row->addWidget(action);
    row->addWidget(close);
    fit();
    setAccessibleName(text);
    followTheme(*this, theme);
    connect(&theme, &Theme::changed, this, &NoticeLine::fit);
    connect(action, &Button::clicked, this, &NoticeLine::actionRequested);
    connect(close, &Button::clicked, this, &NoticeLine::closeRequested);
}

// Buttons stand closer to the edge than text.
void NoticeLine::fit() {
    const bool endsInText = action->isHidden() && close->isHidden();
    layout()->setContentsMargins(padding + theme.scaled(iconSize) + gap, 4, endsInText ? padding : 4, 4);
    setMinimumHeight(theme.scaled(36));
}

void NoticeLine::setText(const QString& text) {
    label->setText(text);
    setAccessibleName(text);
}

QString NoticeLine::text() const {
    return label->text();
}

void NoticeLine::setAction(const QString& text) {
    action->setText(text);
    action->setVisible(!text.isEmpty());
    fit();
}

void NoticeLine::setClosable(bool closable) {
    close->setVisible(closable);
    fit();
}

void NoticeLine::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const Colors shown = colorsOf(kind);
    fillRounded(painter, rect(), 6, theme.color(shown.ground));
    if (shown.line != shown.ground) strokeRounded(painter, rect(), 6, theme.color(shown.line), 1);
    const double side = theme.scaled(iconSize);
    const QString icon = kind == Kind::info ? QStringLiteral("info") : QStringLiteral("warning");
    theme.drawIcon(painter, icon, {padding, (height() - side) / 2, side, side}, theme.color(shown.ink));
}

} // namespace tavrin
