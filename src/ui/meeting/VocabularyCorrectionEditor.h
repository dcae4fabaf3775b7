#pragma once

#include "ui/Theme.h"

#include <QWidget>

namespace tavrin {

class Button;
class Label;
class LineField;

/// A form for one correction: what was heard, and what it should be. It stands in a popover beside a word, or in a
/// sheet, and knows of neither. Enter saves once both fields are filled, Esc cancels.
/// Thread: the windows' thread. The theme outlives it.
class VocabularyCorrectionEditor final : public QWidget {
    Q_OBJECT

public:
    /// As wide as the popover or the sheet that it stands in, at a font scale of 1.
    static constexpr int width = 336;

    explicit VocabularyCorrectionEditor(const Theme& theme, QWidget* parent = nullptr);

    /// Shows a correction to write. One that exists already can be deleted.
    void edit(const QString& heardText, const QString& correctText, bool exists);
    /// What stands in the empty fields: a name and how it is misheard.
    void setExample(const QString& heardText, const QString& correctText);
    /// Puts the focus where something is missing first.
    void startWriting();

    [[nodiscard]] QString heardText() const;
    [[nodiscard]] QString correctText() const;
    /// Something was typed that would be lost.
    [[nodiscard]] bool isChanged() const;

signals:
    /// Both are filled, without blanks at their ends.
    void saveRequested(const QString& heardText, const QString& correctText);
    void cancelled();
    void deleteRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    /// A field under its name, with a help line below.
    void addField(LineField& field, const QString& name, const QString& help, int below);
    void check();
    void save();

    const Theme& theme;
    LineField* heard;
    LineField* correct;
    Button* remove;
    Button* cancel;
    Button* keep;
    QString givenHeard;
    QString givenCorrect;
};

} // namespace tavrin
