#include "ui/settings/VocabularyRow.h"

#include "ui/components/Button.h"
#include "ui/components/Label.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>

namespace tavrin {

namespace {

constexpr int rowHeight = 36;

} // namespace

VocabularyRow::VocabularyRow(const Theme& shown, QWidget* parent)
    : QWidget(parent), theme(shown), heard(new Label(shown, TextStyle::text, {}, Token::text, this)),
      correct(new Label(shown, TextStyle::textMedium, {}, Token::text, this)),
      edit(new Button(shown, Button::Kind::quiet, QStringLiteral("pencil"), tr("Edit"), Button::Size::small, this)),
      remove(new Button(shown, Button::Kind::quiet, QStringLiteral("trash"), tr("Delete"), Button::Size::small, this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(16, 0, 8, 0);
    row->setSpacing(8);
    row->addWidget(heard, 1);
    row->addWidget(new Label(theme, TextStyle::text, QStringLiteral("→"), Token::text2, this));
    row->addWidget(correct, 1);
    row->addWidget(edit);
    row->addWidget(remove);
    heard->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    correct->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    followTheme(*this, theme);
    for (Button* button : {edit, remove})
        button->installEventFilter(this);
    connect(edit, &Button::clicked, this, &VocabularyRow::editRequested);
    connect(remove, &Button::clicked, this, &VocabularyRow::deleteRequested);
    showButtons();
}

void VocabularyRow::show(const SettingsState::Correction& correction) {
    const QString from = QString::fromStdString(correction.heard);
    const QString to = QString::fromStdString(correction.correct);
    heard->setText(from);
    correct->setText(to);
    setToolTip(from + QStringLiteral(" → ") + to); // they may be cut
    edit->setAccessibleName(tr("Edit the correction to %1").arg(to));
    remove->setAccessibleName(tr("Delete the correction to %1").arg(to));
}

void VocabularyRow::focusEdit() {
    edit->setFocus(Qt::OtherFocusReason);
}

QWidget* VocabularyRow::followInTabOrder(QWidget* before) {
    setTabOrder(before, edit);
    setTabOrder(edit, remove);
    return remove;
}

QSize VocabularyRow::sizeHint() const {
    return {320, theme.scaled(rowHeight)};
}

void VocabularyRow::showButtons() {
    isActive = underMouse() || edit->hasFocus() || remove->hasFocus();
    // Hidden ones would be out of the keyboard's reach, and the texts would move.
    const std::optional<Token> ink = isActive ? std::nullopt : std::optional(Token::clear);
    edit->setInk(ink);
    remove->setInk(ink);
    update();
}

void VocabularyRow::enterEvent(QEnterEvent* /*event*/) {
    showButtons();
}

void VocabularyRow::leaveEvent(QEvent* /*event*/) {
    showButtons();
}

bool VocabularyRow::eventFilter(QObject* /*watched*/, QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) showButtons();
    return false;
}

void VocabularyRow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    if (isActive) painter.fillRect(rect().adjusted(1, 0, -1, -1), theme.color(Token::hover));
    painter.fillRect(0, 0, width(), 1, theme.color(Token::line));
}

} // namespace tavrin
