#include "ui/settings/PrivacySection.h"

#include "ui/PlatformWords.h"
#include "ui/components/Button.h"
#include "ui/components/Card.h"
#include "ui/components/Label.h"
#include "ui/components/Row.h"
#include "ui/settings/DeleteAudioSheet.h"

#include <QVBoxLayout>
#include <algorithm>

namespace tavrin {

namespace {

QString amountText(const std::string& amount) {
    return amount.empty() ? PrivacySection::tr("Counting…") : QString::fromStdString(amount);
}

Label* amountLabel(const Theme& theme, Row& row) {
    auto* label = new Label(theme, TextStyle::caption, {}, Token::text2, &row);
    label->setTabular(true);
    row.add(label);
    return label;
}

} // namespace

PrivacySection::PrivacySection(const Theme& shownTheme, QWidget* parent)
    : SettingsSection(shownTheme, tr("Privacy"), parent), tabMark(addTabMark()), list(new QVBoxLayout) {
    list->setSpacing(0);
    card().content().addLayout(list);
    addLeftAudio();
}

void PrivacySection::addLeftAudio() {
    leftRow = addRow(tr("Audio left over from old meetings"), QStringLiteral(" "));
    leftAmount = amountLabel(theme, *leftRow);
    remove = new Button(theme, Button::Kind::destructive, tr("Delete…"), {}, leftRow);
    remove->setAccessibleName(tr("Delete audio left over from old meetings"));
    remove->setSize(Button::Size::small);
    leftRow->add(remove);
    connect(remove, &Button::clicked, this, &PrivacySection::askToDelete);
}

void PrivacySection::show(const SettingsState& state) {
    if (state.kept != shown) fitRows(state.kept);
    leftAudio = state.leftAudio;
    leftAmount->setText(amountText(leftAudio.amount));
    const QString hint = leftAudio.hint.empty() ? tr("Of meetings that cannot be brought back; nothing needs it")
                                                : platformWords(leftAudio.hint);
    leftRow->setCaption(hint);
    leftRow->setToolTip(hint);
    leftRow->setCaptionColor(leftAudio.hintIsError ? Token::recText : Token::text2);
    remove->setEnabled(leftAudio.deleteEnabled);
    leftRow->setLineAbove(!rows.empty());
    filterAgain();
}

/// Counting changes amounts alone: then rows stay, and with them the focus.
void PrivacySection::fitRows(const std::vector<SettingsState::Kept>& kept) {
    if (!std::ranges::equal(kept, shown, {}, &SettingsState::Kept::name, &SettingsState::Kept::name)) {
        for (const KeptRow& row : rows)
            delete row.row;
        rows.clear();
        for (const auto& each : kept)
            rows.push_back(makeRow(each));
    }
    shown = kept;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        rows[i].amount->setText(amountText(shown[i].amount));
        rows[i].open->setEnabled(shown[i].folderExists);
        rows[i].open->setToolTip(QString::fromStdString(shown[i].folder));
    }
}

PrivacySection::KeptRow PrivacySection::makeRow(const SettingsState::Kept& kept) {
    const QString name = QString::fromStdString(kept.name);
    const QString howLong = platformWords(kept.howLong);
    auto* row = new Row(theme, name, howLong, &card());
    row->setMinimumRowHeight(52);
    row->setToolTip(howLong);
    Label* amount = amountLabel(theme, *row);
    auto* open = new Button(theme, Button::Kind::normal, tr("Open folder"), {}, row);
    open->setAccessibleName(tr("Open the folder of %1").arg(name));
    open->setSize(Button::Size::small);
    row->add(open);
    // Where it lies is known when it was counted, long after the row was made.
    connect(open, &Button::clicked, this,
            [this, at = rows.size()] { emit folderOpenRequested(QString::fromStdString(shown.at(at).folder)); });
    row->setLineAbove(list->count() > 0);
    list->addWidget(row);
    setTabOrder(rows.empty() ? tabMark : rows.back().open, open);
    return {.row = row, .amount = amount, .open = open};
}

void PrivacySection::askToDelete() {
    if (!sheet) {
        sheet = new DeleteAudioSheet(theme, *window());
        connect(sheet, &DeleteAudioSheet::confirmed, this, &PrivacySection::leftAudioDeleteRequested);
    }
    sheet->setAmount(QString::fromStdString(leftAudio.amount));
    sheet->open();
}

} // namespace tavrin
