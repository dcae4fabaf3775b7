#include "ui/settings/VocabularySection.h"

#include "ui/components/Button.h"
#include "ui/components/Card.h"
#include "ui/components/Label.h"
#include "ui/components/Line.h"
#include "ui/components/Popover.h"
#include "ui/meeting/VocabularyCorrectionEditor.h"
#include "ui/settings/VocabularyRow.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QVBoxLayout>
#include <algorithm>

namespace tavrin {

namespace {

constexpr int headHeight = 32;

} // namespace

VocabularySection::VocabularySection(const Theme& shownTheme, QWidget* parent)
    : SettingsSection(shownTheme, tr("Vocabulary"), parent), tabMark(addTabMark()) {
    addList();
    add = new Button(theme, Button::Kind::normal, tr("Add correction…"), QStringLiteral("plus"), &card());
    add->setSize(Button::Size::small);
    auto* below = new QWidget(&card());
    auto* stack = new QVBoxLayout(below);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);
    line = new Line(theme, below);
    stack->addWidget(line);
    auto* row = new QHBoxLayout;
    row->setContentsMargins(16, 8, 16, 8);
    row->addWidget(add);
    row->addStretch(1);
    stack->addLayout(row);
    card().content().addWidget(below);
    addFoot(tr("Fixes words or phrases Whisper consistently mishears — e.g. company or product names. Applies "
               "immediately to the current transcript and automatically to future ones."));
    connect(add, &Button::clicked, this, &VocabularySection::startAdding);
}

void VocabularySection::addList() {
    heads = new QWidget(&card());
    auto* head = new QHBoxLayout(heads);
    head->setContentsMargins(16, 0, 8, 0);
    head->setSpacing(8);
    const auto addHead = [&](const QString& text) {
        auto* label = new Label(theme, TextStyle::caption, text, Token::text2, heads);
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        head->addWidget(label, 1);
    };
    // As wide as what stands below them in the rows: the arrow, and the buttons.
    auto* arrow = new Label(theme, TextStyle::text, QStringLiteral("→"), Token::clear, heads);
    arrow->setAccessibleName(QStringLiteral(" "));
    auto* buttons = new QWidget(heads);
    addHead(tr("What was heard"));
    head->addWidget(arrow);
    addHead(tr("What it should be"));
    head->addWidget(buttons);
    const auto fit = [this, buttons] {
        heads->setFixedHeight(theme.scaled(headHeight));
        buttons->setFixedWidth(2 * theme.scaled(28) + 8);
    };
    fit();
    connect(&theme, &Theme::changed, heads, fit);
    card().content().addWidget(heads);
    list = new QVBoxLayout;
    list->setSpacing(0);
    card().content().addLayout(list);
    auto* none = new Label(theme, TextStyle::text,
                           tr("No corrections yet. Add one below, or right-click a misheard word in a transcript."),
                           Token::text2, &card());
    none->setWordWrap(true);
    empty = new QWidget(&card());
    auto* around = new QVBoxLayout(empty);
    around->setContentsMargins(16, 12, 16, 4);
    around->addWidget(none);
    card().content().addWidget(empty);
    setPresent(*heads, false);
}

void VocabularySection::show(const SettingsState& state) {
    exampleHeard = QString::fromStdString(state.exampleHeard);
    exampleCorrect = QString::fromStdString(state.exampleCorrect);
    if (shown == state.corrections && !rows.empty()) return;
    shown = state.corrections;
    fitRows();
    for (std::size_t i = 0; i < rows.size(); ++i)
        rows[i]->show(shown[i]);
    setPresent(*heads, !rows.empty());
    setPresent(*empty, rows.empty());
    line->setVisible(!rows.empty());
    filterAgain();
}

/// Rows stay and get other texts, so that the focus stays where the user left it.
void VocabularySection::fitRows() {
    while (rows.size() > shown.size()) {
        delete rows.back();
        rows.pop_back();
    }
    while (rows.size() < shown.size()) {
        auto* row = new VocabularyRow(theme, &card());
        const std::size_t place = rows.size();
        connect(row, &VocabularyRow::editRequested, this, [this, place] { startEditing(place); });
        // The row may go meanwhile: not from within its own click.
        connect(row, &VocabularyRow::deleteRequested, this, [this, place] { deleteAt(place); }, Qt::QueuedConnection);
        list->addWidget(row);
        rows.push_back(row);
    }
    QWidget* last = tabMark;
    for (VocabularyRow* row : rows)
        last = row->followInTabOrder(last);
}

void VocabularySection::deleteAt(std::size_t place) {
    if (place >= shown.size()) return;
    const QString id = QString::fromStdString(shown[place].id);
    const bool hadFocus = rows[place]->isAncestorOf(QApplication::focusWidget());
    emit correctionDeleteRequested(id);
    if (!hadFocus) return;
    // Not on the next "Delete": a key held down would clear the list.
    if (rows.empty())
        add->setFocus(Qt::OtherFocusReason);
    else
        rows[std::min(place, rows.size() - 1)]->focusEdit();
}

// The editor

void VocabularySection::startAdding() {
    openEditor({}, *add);
}

void VocabularySection::startEditing(std::size_t place) {
    if (place < shown.size()) openEditor(shown[place], *rows[place]);
}

void VocabularySection::openEditor(const SettingsState::Correction& correction, const QWidget& beside) {
    if (!editor) makeEditor();
    if (popover->isOpen() && editor->isChanged()) return editor->startWriting();
    edited = QString::fromStdString(correction.id);
    editor->setExample(exampleHeard, exampleCorrect);
    editor->edit(QString::fromStdString(correction.heard), QString::fromStdString(correction.correct),
                 !edited.isEmpty());
    popover->open(QRect(beside.mapTo(window(), QPoint(0, 0)), beside.size()));
    editor->startWriting();
}

void VocabularySection::makeEditor() {
    editor = new VocabularyCorrectionEditor(theme);
    popover = new Popover(theme, *window(), *editor, VocabularyCorrectionEditor::width);
    connect(editor, &VocabularyCorrectionEditor::cancelled, popover, &Popover::close);
    connect(popover, &Popover::dismissed, this, [this] {
        if (!editor->isChanged()) popover->close(); // a press elsewhere throws nothing away
    });
    connect(editor, &VocabularyCorrectionEditor::saveRequested, this, [this](const QString& heard, const QString& to) {
        popover->close();
        const bool stands =
            std::ranges::find(shown, edited.toStdString(), &SettingsState::Correction::id) != shown.end();
        emit correctionSaveRequested(stands ? edited : QString(), heard, to);
    });
    connect(editor, &VocabularyCorrectionEditor::deleteRequested, this, [this] {
        popover->close();
        emit correctionDeleteRequested(edited);
    });
}

void VocabularySection::hideEvent(QHideEvent* /*event*/) {
    if (popover) popover->close();
}

} // namespace tavrin
