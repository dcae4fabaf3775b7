#include "ui/settings/ModelsSection.h"

#include "ui/PlatformWords.h"
#include "ui/components/Badge.h"
#include "ui/components/BusyRing.h"
#include "ui/components/Button.h"
#include "ui/components/Card.h"
#include "ui/components/Row.h"

#include <QVBoxLayout>

namespace tavrin {

namespace {

Badge::Kind badgeOf(SettingsState::Model::Condition condition) {
    switch (condition) {
    case SettingsState::Model::Condition::ready:
        return Badge::Kind::good;
    case SettingsState::Model::Condition::missing:
        return Badge::Kind::warning;
    case SettingsState::Model::Condition::broken:
        return Badge::Kind::error;
    case SettingsState::Model::Condition::busy:
        break;
    }
    return Badge::Kind::plain;
}

} // namespace

ModelsSection::ModelsSection(const Theme& shown, QWidget* parent)
    : SettingsSection(shown, tr("Models"), parent), rows(new QVBoxLayout) {
    rows->setSpacing(0);
    card().content().addLayout(rows);
    footer =
        addRow(tr("Installed models"), tr("Install more with ./tavrin setup or ./tavrin models add, then look again."));
    busy = new BusyRing(theme, tr("Looking for models"), footer);
    refresh = new Button(theme, Button::Kind::normal, tr("Look again"), QStringLiteral("sync"), footer);
    refresh->setSize(Button::Size::small);
    footer->add(busy);
    footer->add(refresh);
    busy->hide();
    connect(refresh, &Button::clicked, this, &ModelsSection::refreshRequested);
}

void ModelsSection::show(const std::vector<SettingsState::Model>& models, bool checking) {
    busy->setVisible(checking);
    refresh->setEnabled(!checking);
    if (models == shown) return;
    shown = models;
    while (QLayoutItem* item = rows->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const auto& model : shown)
        rows->addWidget(rowOf(model));
    footer->setLineAbove(!shown.empty());
    filterAgain();
}

QWidget* ModelsSection::rowOf(const SettingsState::Model& model) {
    const QString folder = QString::fromStdString(model.folder);
    const QString detail = platformWords(model.detail);
    const bool broken = model.condition == SettingsState::Model::Condition::broken;
    const QString caption = broken || folder.isEmpty() ? detail : folder;
    auto* row = new Row(theme, QString::fromStdString(model.name), caption, &card());
    row->setAside(QString::fromStdString(model.size));
    row->setMinimumRowHeight(52);
    row->setLineAbove(&model != &shown.front());
    row->setCaptionElide(broken ? Qt::ElideRight : Qt::ElideMiddle);
    if (broken) row->setCaptionColor(Token::recText);
    row->setToolTip(folder.isEmpty() ? detail : detail + QLatin1Char('\n') + folder);
    const bool ready = model.condition == SettingsState::Model::Condition::ready;
    row->add(new Badge(theme, badgeOf(model.condition), platformWords(model.stateText),
                       ready ? QStringLiteral("check") : QString(), row));
    return row;
}

} // namespace tavrin
