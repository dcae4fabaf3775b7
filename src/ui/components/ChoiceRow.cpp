#include "ui/components/ChoiceRow.h"

#include <QAbstractButton>
#include <QHBoxLayout>

namespace tavrin {

ChoiceRow::ChoiceRow(const Theme& shown, const QString& accessibleName, QWidget* parent)
    : QWidget(parent), theme(shown), row(new QHBoxLayout(this)), tabMark(new QWidget(this)) {
    setAccessibleName(accessibleName);
    tabMark->setFocusPolicy(Qt::ClickFocus); // never clicked, nor reached by Tab
    tabMark->setFixedSize(0, 0);
    row->setContentsMargins(0, 0, 0, 0);
    followTheme(*this, theme);
}

void ChoiceRow::setChoices(const QStringList& names) {
    qDeleteAll(buttons);
    buttons.clear();
    for (const QString& name : names) {
        QAbstractButton* button = makeChoice(name);
        button->setText(name);
        button->setCheckable(true);
        button->setAutoExclusive(true);
        button->setFocusPolicy(Qt::TabFocus);
        const int index = int(buttons.size());
        connect(button, &QAbstractButton::clicked, this, [this, index] {
            if (chosenIndex == index) return;
            chosenIndex = index;
            emit chosen(index);
        });
        setTabOrder(buttons.isEmpty() ? tabMark : buttons.last(), button);
        buttons.append(button);
        row->insertWidget(index, button);
    }
    setCurrent(qMin(qMax(chosenIndex, 0), int(buttons.size()) - 1)); // nothing where there are no choices
}

void ChoiceRow::setCurrent(int index) {
    if (index < 0 || index >= buttons.size()) return;
    chosenIndex = index;
    buttons.at(index)->setChecked(true);
}

} // namespace tavrin
