#include "ui/settings/AboutSection.h"

#include "ui/components/Button.h"
#include "ui/components/Card.h"
#include "ui/components/IconView.h"
#include "ui/components/Label.h"
#include "ui/settings/LicencesSheet.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace tavrin {

AboutSection::AboutSection(const Theme& shown, QWidget* parent) : SettingsSection(shown, tr("About"), parent) {
    auto* widget = new QWidget(&card());
    auto* row = new QHBoxLayout(widget);
    row->setContentsMargins(16, 10, 16, 10);
    row->setSpacing(12);
    row->addWidget(new IconView(theme, QStringLiteral("app"), 36, Token::text, widget));
    auto* words = new QVBoxLayout;
    words->setSpacing(0);
    words->addWidget(new Label(theme, TextStyle::textMedium, tr("Tavrin Assistant"), Token::text, widget));
    version = new Label(theme, TextStyle::caption, {}, Token::text2, widget);
    version->setTabular(true);
    words->addWidget(version);
    row->addLayout(words, 1);
    auto* licences = new Button(theme, Button::Kind::normal, tr("Licences"), {}, widget);
    row->addWidget(licences);
    card().content().addWidget(widget);
    connect(licences, &Button::clicked, this, &AboutSection::openLicences);
}

void AboutSection::show(const SettingsState& state) {
    version->setText(QString::fromStdString(state.version));
}

void AboutSection::openLicences() {
    if (!sheet) sheet = new LicencesSheet(theme, *window());
    sheet->open();
}

} // namespace tavrin
