#include "ui/components/FindBar.h"

#include "ui/components/Button.h"
#include "ui/components/Label.h"
#include "ui/components/LineField.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>

namespace tavrin {

namespace {

constexpr int widestField = 320;

} // namespace

FindBar::FindBar(const Theme& shown, QWidget* parent)
    : QWidget(parent), theme(shown),
      field(new LineField(shown, tr("Find in the transcript"), tr("Find"), QStringLiteral("search"), this)),
      count(new Label(shown, TextStyle::caption, {}, Token::text2, this)),
      back(new Button(shown, Button::Kind::quiet, QStringLiteral("chevron-down"), tr("Previous match"),
                      Button::Size::small, this)),
      on(new Button(shown, Button::Kind::quiet, QStringLiteral("chevron-down"), tr("Next match"), Button::Size::small,
                    this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(32, 8, 24, 9); // 8, and 1 for the line below
    row->setSpacing(4);
    row->addWidget(field, 1);
    row->addSpacing(8);
    row->addWidget(count);
    row->addSpacing(4);
    row->addWidget(back);
    row->addWidget(on);
    row->addStretch(0);
    auto* shut =
        new Button(theme, Button::Kind::quiet, QStringLiteral("close"), tr("Close search"), Button::Size::small, this);
    row->addWidget(shut);
    back->setIconTurned(true);
    count->setTabular(true);
    count->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed); // never cut
    field->setMaximumWidth(theme.scaled(widestField));
    connect(&theme, &Theme::changed, this, [this] { field->setMaximumWidth(theme.scaled(widestField)); });
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    followTheme(*this, theme);
    connect(&field->edit(), &QLineEdit::textChanged, this, &FindBar::sought);
    connect(back, &Button::clicked, this, [this] { emit stepRequested(-1); });
    connect(on, &Button::clicked, this, [this] { emit stepRequested(1); });
    connect(shut, &Button::clicked, this, &FindBar::close);
    setCount(-1, 0);
    hide();
}

void FindBar::open(const QString& text) {
    show();
    if (!text.isEmpty()) field->edit().setText(text);
    field->edit().selectAll();
    field->edit().setFocus(Qt::ShortcutFocusReason);
    emit sought(field->text());
}

void FindBar::close() {
    if (!isOpen()) return;
    hide();
    emit closed();
}

QString FindBar::text() const {
    return field->text();
}

void FindBar::setCount(int current, int all) {
    const QString words = text().isEmpty() ? QString()
                          : all == 0       ? tr("No matches")
                                           : tr("%1 of %2").arg(current + 1).arg(all);
    count->setText(words);
    field->edit().setAccessibleDescription(words);
    back->setEnabled(all > 0);
    on->setEnabled(all > 0);
}

void FindBar::keyPressEvent(QKeyEvent* event) {
    const int direction = event->modifiers().testFlag(Qt::ShiftModifier) ? -1 : 1;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_F3:
        return emit stepRequested(direction);
    case Qt::Key_Escape:
        return close();
    default:
        QWidget::keyPressEvent(event);
    }
}

void FindBar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme.color(Token::surface));
    painter.fillRect(0, height() - 1, width(), 1, theme.color(Token::line));
}

} // namespace tavrin
