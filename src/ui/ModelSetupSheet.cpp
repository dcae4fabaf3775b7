#include "ui/ModelSetupSheet.h"

#include "ui/components/Button.h"
#include "ui/components/Card.h"
#include "ui/components/IconView.h"
#include "ui/components/Label.h"
#include "ui/components/Line.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace tavrin {

namespace {

constexpr int sheetWidth = 480;

bool isReady(const SettingsState::Model& model) {
    return model.condition == SettingsState::Model::Condition::ready;
}

QWidget* modelRow(const Theme& theme, const SettingsState::Model& model, QWidget* parent) {
    auto* widget = new QWidget(parent);
    widget->setMinimumHeight(theme.scaled(56));
    auto* row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(12);
    const QString icon = isReady(model) ? QStringLiteral("check") : QStringLiteral("download");
    const Token ink = isReady(model) ? Token::accentText : Token::text2;
    row->addWidget(new IconView(theme, icon, 20, ink, widget), 0, Qt::AlignVCenter);
    auto* words = new QVBoxLayout;
    words->setSpacing(0);
    auto* head = new QHBoxLayout;
    head->addWidget(new Label(theme, TextStyle::textMedium, QString::fromStdString(model.name), Token::text, widget),
                    1);
    head->addWidget(new Label(theme, TextStyle::caption, QString::fromStdString(model.stateText), ink, widget));
    words->addStretch(1);
    words->addLayout(head);
    words->addWidget(new Label(theme, TextStyle::caption, QString::fromStdString(model.detail), Token::text2, widget));
    words->addStretch(1);
    row->addLayout(words, 1);
    return widget;
}

} // namespace

ModelSetupSheet::ModelSetupSheet(const Theme& shown, QWidget& window)
    : Sheet(shown, window, sheetWidth, tr("Set up speech models")), rows(new QVBoxLayout),
      useInstalled(new Button(shown, Button::Kind::link, tr("Use installed models"), {}, &body())) {
    auto* head = new QHBoxLayout;
    head->setSpacing(16);
    head->addWidget(new IconView(theme, QStringLiteral("app"), 44, Token::text, &body()), 0, Qt::AlignTop);
    auto* words = new QVBoxLayout;
    words->setSpacing(4);
    words->addWidget(new Label(theme, TextStyle::section, tr("Set up speech models"), Token::text, &body()));
    auto* why = new Label(theme, TextStyle::text, tr("Speech models have to be installed before your first recording."),
                          Token::text2, &body());
    why->setWordWrap(true);
    words->addWidget(why);
    head->addLayout(words, 1);
    content().addLayout(head);
    content().addSpacing(16);
    rows->setSpacing(0);
    content().addLayout(rows);
    content().addSpacing(12);

    auto* how = new Card(theme, &body());
    how->setSunken(true);
    how->content().setContentsMargins(14, 12, 14, 12);
    how->content().setSpacing(4);
    how->content().addWidget(
        new Label(theme, TextStyle::textMedium, tr("To install them, run in a terminal"), Token::text, how));
    auto* command = new Label(theme, TextStyle::text, tr("./tavrin setup\nor ./tavrin models add for single models"),
                              Token::text2, how);
    command->setWordWrap(true);
    how->content().addWidget(command);
    content().addWidget(how);
    content().addSpacing(14);

    auto* promise = new QHBoxLayout;
    promise->setSpacing(8);
    promise->addWidget(new IconView(theme, QStringLiteral("lock"), 16, Token::accentText, &body()));
    promise->addWidget(new Label(theme, TextStyle::caption,
                                 tr("Speech never leaves this computer. The models run here."), Token::text2, &body()),
                       1);
    content().addLayout(promise);
    content().addSpacing(20);

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    auto* cancelButton = new Button(theme, Button::Kind::normal, tr("Cancel"), {}, &body());
    auto* again = new Button(theme, Button::Kind::primary, tr("Check again"), {}, &body());
    buttons->addWidget(useInstalled);
    buttons->addStretch(1);
    buttons->addWidget(cancelButton);
    buttons->addWidget(again);
    content().addLayout(buttons);
    connect(useInstalled, &Button::clicked, this, [this] {
        close();
        emit useInstalledRequested();
    });
    connect(cancelButton, &Button::clicked, this, &ModelSetupSheet::cancel);
    connect(again, &Button::clicked, this, &ModelSetupSheet::refreshRequested);
}

void ModelSetupSheet::setModels(const std::vector<SettingsState::Model>& models, bool anyInstalled) {
    while (QLayoutItem* item = rows->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const auto& model : models) {
        if (&model != &models.front()) rows->addWidget(new Line(theme, &body()));
        rows->addWidget(modelRow(theme, model, &body()));
    }
    useInstalled->setVisible(anyInstalled);
}

} // namespace tavrin
