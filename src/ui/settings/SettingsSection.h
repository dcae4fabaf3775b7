#pragma once

#include "ui/Theme.h"
#include "ui/settings/SettingsState.h"

#include <QStringList>
#include <QWidget>

class QVBoxLayout;

namespace tavrin {

class Card;
class Label;
class Row;
class Switch;

/// A part of the settings: a heading, a card of rows and what stands below it. It can be searched.
/// Thread: the windows' thread. The theme outlives it.
class SettingsSection : public QWidget {
    Q_OBJECT

public:
    /// Shows only the rows that say all of these words, together with the heading; without words, everything.
    /// False when nothing of the section is left.
    bool filter(const QStringList& words);

signals:
    void switched(SettingsSwitch which, bool on);

protected:
    SettingsSection(const Theme& theme, const QString& title, QWidget* parent);

    [[nodiscard]] Card& card() { return *rows; }
    /// The section from top to bottom: heading, card, and what is added below.
    [[nodiscard]] QVBoxLayout& column() { return *whole; }
    /// A row at the card's end.
    Row* addRow(const QString& title, const QString& caption = {});
    Switch* addSwitch(const QString& title, const QString& caption, SettingsSwitch which);
    /// A line of small text below the card.
    Label* addFoot(const QString& text);
    /// Marks a place in the order of the Tab key, for controls that come later: the order moves nothing but what can
    /// have the focus. It is never seen, nor reached.
    QWidget* addTabMark();
    /// Whether a row of the card is there at all, searched or not.
    void setPresent(QWidget& row, bool present);
    /// Searches again, after rows came or changed.
    void filterAgain();

    const Theme& theme;

private:
    QString title;
    QVBoxLayout* whole;
    Card* rows;
    QStringList sought;
    QList<const QWidget*> absent;
};

/// Shows a switch as on or off without telling anyone.
void showSwitch(Switch& shown, bool on);

} // namespace tavrin
