#include "ui/settings/ModelRows.h"

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

ModelRows::ModelRows(const Theme& chosen, QWidget* parent) : QWidget(parent), theme(chosen), card(nullptr) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
}

void ModelRows::show(const std::vector<SettingsState::Model>& models, bool checking) {
    if (filled && models == shown && checking == shownChecking) return;
    const bool hadFocus = card && card->focusWidget() && card->focusWidget()->hasFocus();
    filled = true;
    shown = models;
    shownChecking = checking;
    delete card;
    card = new Card(theme, this);
    for (const auto& model : models)
        card->content().addWidget(rowOf(model));
    auto* footer = new Row(theme, tr("Installed models"),
                           tr("Install more with ./tavrin setup or ./tavrin models add, then look again."), card);
    footer->setLineAbove(!models.empty());
    if (checking) footer->add(new BusyRing(theme, tr("Looking for models"), footer));
    auto* refresh = new Button(theme, Button::Kind::normal, tr("Look again"), QStringLiteral("sync"), footer);
    refresh->setSize(Button::Size::small);
    refresh->setEnabled(!checking);
    footer->add(refresh);
    connect(refresh, &Button::clicked, this, &ModelRows::refreshRequested);
    card->content().addWidget(footer);
    layout()->addWidget(card);
    if (hadFocus) refresh->setFocus(Qt::OtherFocusReason);
}

QWidget* ModelRows::rowOf(const SettingsState::Model& model) const {
    const QString folder = QString::fromStdString(model.folder);
    const QString detail = platformWords(model.detail);
    const bool broken = model.condition == SettingsState::Model::Condition::broken;
    const QString caption = broken || folder.isEmpty() ? detail : folder;
    auto* row = new Row(theme, QString::fromStdString(model.name), caption, card);
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
