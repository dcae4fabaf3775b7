#pragma once

#include "ui/Theme.h"

#include <QStringList>
#include <QWidget>

class QAbstractButton;
class QHBoxLayout;

namespace tavrin {

/// A row of choices of which one holds: the common part of segments and tabs. One stop of the Tab key; the arrow keys
/// move between the choices.
class ChoiceRow : public QWidget {
    Q_OBJECT

public:
    void setChoices(const QStringList& names);
    [[nodiscard]] int current() const { return chosenIndex; }
    /// Shows a choice without telling anyone.
    void setCurrent(int index);

signals:
    /// The user chose.
    void chosen(int index);

protected:
    ChoiceRow(const Theme& theme, const QString& accessibleName, QWidget* parent);

    virtual QAbstractButton* makeChoice(const QString& name) = 0;

    const Theme& theme;
    QHBoxLayout* row;

private:
    QWidget* tabMark; // keeps the place in the order of the Tab key for choices that come later
    QList<QAbstractButton*> buttons;
    int chosenIndex = -1;
};

} // namespace tavrin
