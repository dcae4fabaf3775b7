#include "ui/meeting/VocabularyCorrectionEditor.h"

#include "ui/components/Button.h"
#include "ui/components/Label.h"
#include "ui/components/LineField.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QVBoxLayout>
#include <algorithm>

namespace tavrin {

namespace {

constexpr int padding = 16;

} // namespace

VocabularyCorrectionEditor::VocabularyCorrectionEditor(const Theme& shown, QWidget* parent)
    : QWidget(parent), theme(shown), heard(new LineField(shown, tr("What was heard"), {}, {}, this)),
      correct(new LineField(shown, tr("What it should be"), {}, {}, this)),
      remove(new Button(shown, Button::Kind::link, tr("Delete"), {}, this)),
      cancel(new Button(shown, Button::Kind::normal, tr("Cancel"), {}, this)),
      keep(new Button(shown, Button::Kind::primary, tr("Save"), {}, this)) {
    setAccessibleName(tr("Fix a misheard phrase"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(0);
    column->addWidget(new Label(theme, TextStyle::section, tr("Fix a misheard phrase"), Token::text, this));
    column->addSpacing(12);
    addField(*heard, tr("What was heard"), tr("Comma-separated if Whisper mishears it more than one way."), 12);
    addField(*correct, tr("What it should be"),
             tr("Applies immediately to the current transcript and automatically to future ones."), padding);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    remove->setInk(Token::recText);
    buttons->addWidget(remove);
    buttons->addStretch(1);
    buttons->addWidget(cancel);
    buttons->addWidget(keep);
    column->addLayout(buttons);
    setTabOrder(&correct->edit(), keep);
    setTabOrder(keep, cancel);
    setTabOrder(cancel, remove);
    for (LineField* field : {heard, correct})
        connect(&field->edit(), &QLineEdit::textChanged, this, &VocabularyCorrectionEditor::check);
    connect(keep, &Button::clicked, this, &VocabularyCorrectionEditor::save);
    connect(cancel, &Button::clicked, this, &VocabularyCorrectionEditor::cancelled);
    connect(remove, &Button::clicked, this, &VocabularyCorrectionEditor::deleteRequested);
    edit({}, {}, false);
}

void VocabularyCorrectionEditor::addField(LineField& field, const QString& name, const QString& help, int below) {
    auto* column = static_cast<QVBoxLayout*>(layout());
    column->addWidget(new Label(theme, TextStyle::captionMedium, name, Token::text2, this));
    column->addSpacing(4);
    column->addWidget(&field);
    column->addSpacing(4);
    auto* line = new Label(theme, TextStyle::caption, help, Token::text2, this);
    line->setWordWrap(true);
    column->addWidget(line);
    column->addSpacing(below);
}

void VocabularyCorrectionEditor::edit(const QString& heardText, const QString& correctText, bool exists) {
    givenHeard = heardText;
    givenCorrect = correctText;
    heard->edit().setText(heardText);
    correct->edit().setText(correctText);
    remove->setVisible(exists);
    check();
}

void VocabularyCorrectionEditor::setExample(const QString& heardText, const QString& correctText) {
    heard->edit().setPlaceholderText(heardText);
    correct->edit().setPlaceholderText(correctText);
}

void VocabularyCorrectionEditor::startWriting() {
    QLineEdit& first = heardText().isEmpty() || !correctText().isEmpty() ? heard->edit() : correct->edit();
    first.setFocus(Qt::OtherFocusReason);
    first.end(false);
}

QString VocabularyCorrectionEditor::heardText() const {
    return heard->text().trimmed();
}

QString VocabularyCorrectionEditor::correctText() const {
    return correct->text().trimmed();
}

bool VocabularyCorrectionEditor::isChanged() const {
    return heardText() != givenHeard.trimmed() || correctText() != givenCorrect.trimmed();
}

void VocabularyCorrectionEditor::check() {
    // Commas alone name nothing.
    const auto parts = heardText().split(QLatin1Char(','));
    const bool names = std::ranges::any_of(parts, [](const QString& part) { return !part.trimmed().isEmpty(); });
    keep->setEnabled(names && !correctText().isEmpty());
}

void VocabularyCorrectionEditor::save() {
    if (keep->isEnabled()) emit saveRequested(heardText(), correctText());
}

void VocabularyCorrectionEditor::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return save();
    case Qt::Key_Escape:
        return emit cancelled();
    default:
        QWidget::keyPressEvent(event);
    }
}

} // namespace tavrin
