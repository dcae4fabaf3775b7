#include "ui/settings/SettingsSection.h"

#include "ui/components/Card.h"
#include "ui/components/Label.h"
#include "ui/components/Row.h"
#include "ui/components/Switch.h"

#include <QComboBox>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>

namespace tavrin {

namespace {

constexpr int rowHeight = 44;
constexpr int tallRowHeight = 52;

/// Everything that a row says, what it says by its controls included.
QString wordsOf(const QWidget& row) {
    QStringList words;
    for (const auto* label : row.findChildren<QLabel*>())
        words += label->text();
    for (const auto* button : row.findChildren<QAbstractButton*>())
        words += button->text().isEmpty() ? button->accessibleName() : button->text();
    for (const auto* picker : row.findChildren<QComboBox*>())
        for (int i = 0; i < picker->count(); ++i)
            words += picker->itemText(i);
    return words.join(QLatin1Char('\n'));
}

QList<QWidget*> widgetsOf(const QLayout& layout) {
    QList<QWidget*> found;
    for (int i = 0; i < layout.count(); ++i) {
        const QLayoutItem* item = layout.itemAt(i);
        if (item->widget())
            found += item->widget();
        else if (const auto* inner = dynamic_cast<const QLayout*>(item))
            found += widgetsOf(*inner);
    }
    return found;
}

Row* rowIn(QWidget& widget) {
    auto* row = qobject_cast<Row*>(&widget);
    return row ? row : widget.findChild<Row*>();
}

} // namespace

SettingsSection::SettingsSection(const Theme& shown, const QString& heading, QWidget* parent)
    : QWidget(parent), theme(shown), title(heading), whole(new QVBoxLayout(this)), rows(new Card(shown, this)) {
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(8);
    whole->addWidget(new Label(theme, TextStyle::section, heading, Token::text, this));
    whole->addWidget(rows);
}

Row* SettingsSection::addRow(const QString& name, const QString& caption) {
    auto* row = new Row(theme, name, caption, rows);
    row->setMinimumRowHeight(caption.isEmpty() ? rowHeight : tallRowHeight);
    row->setLineAbove(rows->content().count() > 0);
    if (!caption.isEmpty()) row->setToolTip(caption); // it may be cut
    rows->content().addWidget(row);
    return row;
}

Switch* SettingsSection::addSwitch(const QString& name, const QString& caption, SettingsSwitch which) {
    Row* row = addRow(name, caption);
    auto* control = new Switch(theme, name, row);
    row->add(control);
    connect(control, &Switch::toggled, this, [this, which](bool on) { emit switched(which, on); });
    return control;
}

Label* SettingsSection::addFoot(const QString& text) {
    auto* foot = new Label(theme, TextStyle::caption, text, Token::text2, this);
    foot->setWordWrap(true);
    foot->setContentsMargins(2, 0, 2, 0);
    whole->addWidget(foot);
    return foot;
}

QWidget* SettingsSection::addTabMark() {
    auto* mark = new QWidget(rows);
    mark->setFocusPolicy(Qt::ClickFocus);
    mark->setFixedSize(0, 0);
    return mark;
}

bool SettingsSection::filter(const QStringList& words) {
    sought = words;
    bool any = false;
    for (QWidget* widget : widgetsOf(rows->content())) {
        if (absent.contains(widget)) continue;
        const QString text = title + QLatin1Char('\n') + wordsOf(*widget);
        const bool fits =
            std::ranges::all_of(words, [&](const QString& word) { return text.contains(word, Qt::CaseInsensitive); });
        widget->setVisible(fits);
        if (!fits) continue;
        if (Row* row = rowIn(*widget)) row->setLineAbove(any);
        any = true;
    }
    setVisible(any);
    return any;
}

void SettingsSection::setPresent(QWidget& row, bool present) {
    if (present == !absent.contains(&row)) return;
    if (present)
        absent.removeOne(&row);
    else
        absent += &row;
    row.setVisible(present);
    filterAgain();
}

void SettingsSection::filterAgain() {
    if (!sought.isEmpty()) filter(sought);
}

void showSwitch(Switch& shown, bool on) {
    const QSignalBlocker quiet(shown);
    shown.setChecked(on);
    shown.update();
}

} // namespace tavrin
