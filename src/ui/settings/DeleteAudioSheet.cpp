#include "ui/settings/DeleteAudioSheet.h"

#include "ui/components/Button.h"
#include "ui/components/Label.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace tavrin {

namespace {

constexpr int sheetWidth = 440;

} // namespace

DeleteAudioSheet::DeleteAudioSheet(const Theme& shown, QWidget& window)
    : Sheet(shown, window, sheetWidth, tr("Delete left-over audio?")),
      words(new Label(shown, TextStyle::text, {}, Token::text2, &body())) {
    content().addWidget(new Label(theme, TextStyle::section, tr("Delete left-over audio?"), Token::text, &body()));
    content().addSpacing(4);
    words->setWordWrap(true);
    content().addWidget(words);
    content().addSpacing(20);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    auto* keep = new Button(theme, Button::Kind::normal, tr("Cancel"), {}, &body());
    auto* remove = new Button(theme, Button::Kind::red, tr("Delete audio"), {}, &body());
    buttons->addStretch(1);
    buttons->addWidget(keep);
    buttons->addWidget(remove);
    content().addLayout(buttons);
    connect(keep, &Button::clicked, this, &DeleteAudioSheet::cancel);
    connect(remove, &Button::clicked, this, [this] {
        close();
        emit confirmed();
    });
}

void DeleteAudioSheet::setAmount(const QString& amount) {
    words->setText(tr("%1 of meetings that cannot be brought back. Texts of meetings stay, and so does the audio of "
                      "meetings that can. This cannot be undone.")
                       .arg(amount));
}

} // namespace tavrin
