#pragma once

#include "ui/settings/SettingsSection.h"

#include <QPointer>
#include <functional>
#include <vector>

class QVBoxLayout;

namespace tavrin {

class Button;
class Line;
class Popover;
class VocabularyCorrectionEditor;
class VocabularyRow;

/// The list of corrections, with an editor that opens beside the row that it is about. It keeps nothing: what the user
/// wants is told, and what is shown is the list that comes back.
class VocabularySection final : public SettingsSection {
    Q_OBJECT

public:
    VocabularySection(const Theme& theme, QWidget* parent);

    using QWidget::show;
    void show(const SettingsState& state);
    /// Opens the editor for a new correction.
    void startAdding();

signals:
    /// `id` is empty for a new one. `heard` is as typed: mishearings with commas between.
    void correctionSaveRequested(const QString& id, const QString& heard, const QString& correct);
    void correctionDeleteRequested(const QString& id);

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void addList();
    void fitRows();
    void startEditing(std::size_t place);
    void deleteAt(std::size_t place);
    void openEditor(const SettingsState::Correction& correction, const QWidget& beside);
    void makeEditor();

    std::vector<SettingsState::Correction> shown;
    QString exampleHeard;
    QString exampleCorrect;
    std::vector<VocabularyRow*> rows;
    QWidget* tabMark;
    QVBoxLayout* list = nullptr;
    QWidget* heads = nullptr;
    QWidget* empty = nullptr;
    Line* line = nullptr; // above the button, below the rows
    Button* add = nullptr;
    // Made when first wanted: they belong to the window, which is known only then.
    QPointer<VocabularyCorrectionEditor> editor;
    QPointer<Popover> popover;
    QString edited; // the correction that the editor is about; empty for a new one
};

} // namespace tavrin
