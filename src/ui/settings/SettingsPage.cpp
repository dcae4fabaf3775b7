#include "ui/settings/SettingsPage.h"

#include "ui/PlatformWords.h"
#include "ui/components/Button.h"
#include "ui/components/Card.h"
#include "ui/components/IconView.h"
#include "ui/components/Label.h"
#include "ui/components/LineField.h"
#include "ui/components/Picker.h"
#include "ui/components/Row.h"
#include "ui/components/ScrollPage.h"
#include "ui/components/Segments.h"
#include "ui/components/Tabs.h"
#include "ui/settings/ModelRows.h"

#include <QHBoxLayout>
#include <QScrollBar>
#include <QVBoxLayout>

namespace tavrin {

namespace {

constexpr int widestContent = 880;
constexpr int longestToken = 4096;

template <class Container>
QStringList namesOf(const Container& choices) {
    QStringList names;
    for (const auto& choice : choices)
        names.append(QString::fromStdString(choice.name));
    return names;
}

int indexOf(const std::vector<SettingsState::Choice>& choices, const std::string& value) {
    for (std::size_t i = 0; i < choices.size(); ++i)
        if (choices[i].value == value) return int(i);
    return -1;
}

} // namespace

SettingsPage::SettingsPage(const Theme& shown, QWidget* parent)
    : QWidget(parent), theme(shown),
      tabs(new Tabs(shown, tr("Sections of the settings"),
                    {tr("Account"), tr("Models"), tr("Privacy"), tr("Meetings"), tr("About")}, this)),
      scroll(new ScrollPage(shown, this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 24, 0, 0);
    column->setSpacing(8);
    auto* head = new QWidget(this);
    auto* centred = new QHBoxLayout(head);
    centred->setContentsMargins(32, 0, 32, 0);
    auto* narrow = new QWidget(head);
    narrow->setMaximumWidth(widestContent);
    centred->addStretch(1);
    centred->addWidget(narrow, 1000);
    centred->addStretch(1);
    auto* words = new QVBoxLayout(narrow);
    words->setContentsMargins(0, 2, 0, 0);
    words->setSpacing(10);
    words->addWidget(new Label(theme, TextStyle::page, tr("Settings"), Token::text, narrow));
    words->addWidget(tabs);
    column->addWidget(head);
    column->addWidget(scroll, 1);

    QVBoxLayout& page = scroll->content();
    page.setContentsMargins(0, 6, 0, 32);
    page.setSpacing(8);
    addAccount(page);
    addModels(page);
    addPrivacy(page);
    addMeetings(page);
    addAbout(page);
    page.addStretch(1);
    connect(tabs, &Tabs::chosen, this, [this](int part) { scroll->scrollTo(*headings.at(std::size_t(part))); });
    connect(scroll->verticalScrollBar(), &QScrollBar::valueChanged, this, &SettingsPage::markTab);
}

void SettingsPage::addAccount(QVBoxLayout& page) {
    headings[account] = new Label(theme, TextStyle::section, tr("Account"), Token::text, this);
    page.addWidget(headings[account]);
    auto* card = new Card(theme, this);
    page.addWidget(card);
    page.addSpacing(6);

    auto* who =
        new Row(theme, tr("Not signed in"), tr("Signing in comes with a later version. A token is enough."), card);
    who->setMinimumRowHeight(52);
    card->content().addWidget(who);

    auto* row = new Row(theme, tr("API token"), {}, card);
    row->setLineAbove(true);
    token = new LineField(theme, tr("API token"), tr("Paste a token"), {}, row);
    token->edit().setEchoMode(QLineEdit::Password);
    token->edit().setMaxLength(longestToken);
    const auto fitToken = [this] { token->setFixedWidth(qMin(theme.scaled(264), 320)); };
    fitToken();
    connect(&theme, &Theme::changed, token, fitToken);
    saveToken = new Button(theme, Button::Kind::normal, tr("Save"), {}, row);
    row->add(token);
    row->add(saveToken);
    card->content().addWidget(row);
    const auto save = [this] {
        if (saveToken->isEnabled()) emit tokenSaveRequested(token->text().trimmed());
    };
    connect(saveToken, &Button::clicked, this, save);
    connect(&token->edit(), &QLineEdit::returnPressed, this, save);
    connect(&token->edit(), &QLineEdit::textChanged, this, &SettingsPage::showToken);

    auto* below = new QWidget(card);
    auto* words = new QVBoxLayout(below);
    words->setContentsMargins(16, 0, 16, 12);
    words->setSpacing(0);
    tokenState = new Label(theme, TextStyle::caption, {}, Token::text2, below);
    keptWhere = new Label(theme, TextStyle::caption, {}, Token::text2, below);
    tokenState->setWordWrap(true);
    keptWhere->setWordWrap(true);
    words->addWidget(tokenState);
    words->addWidget(keptWhere);
    card->content().addWidget(below);
}

void SettingsPage::addModels(QVBoxLayout& page) {
    headings[models] = new Label(theme, TextStyle::section, tr("Models"), Token::text, this);
    page.addWidget(headings[models]);
    modelRows = new ModelRows(theme, this);
    page.addWidget(modelRows);
    page.addSpacing(6);
    connect(modelRows, &ModelRows::refreshRequested, this, &SettingsPage::modelsRefreshRequested);
}

void SettingsPage::addPrivacy(QVBoxLayout& page) {
    headings[privacy] = new Label(theme, TextStyle::section, tr("Privacy"), Token::text, this);
    page.addWidget(headings[privacy]);
    auto* holder = new QWidget(this);
    auto* column = new QVBoxLayout(holder);
    column->setContentsMargins(0, 0, 0, 0);
    privacyCard = new Card(theme, holder);
    column->addWidget(privacyCard);
    page.addWidget(holder);
    page.addSpacing(6);
}

void SettingsPage::addMeetings(QVBoxLayout& page) {
    headings[meetings] = new Label(theme, TextStyle::section, tr("Meetings"), Token::text, this);
    page.addWidget(headings[meetings]);
    auto* card = new Card(theme, this);
    auto* languageRow = new Row(theme, tr("Speech language"), tr("Counts from the next meeting on"), card);
    languageRow->setMinimumRowHeight(52);
    language = new Picker(theme, tr("Speech language"), {}, languageRow);
    languageRow->add(language);
    auto* spellingRow = new Row(theme, tr("English spelling"), {}, card);
    spellingRow->setLineAbove(true);
    spelling = new Segments(theme, tr("English spelling"), {}, spellingRow);
    spellingRow->add(spelling);
    card->content().addWidget(languageRow);
    card->content().addWidget(spellingRow);
    page.addWidget(card);
    page.addSpacing(6);
    connect(language, &Picker::activated, this, [this](int index) {
        if (index >= 0 && index < int(state.languages.size()))
            emit languageChosen(QString::fromStdString(state.languages[std::size_t(index)].value));
    });
    connect(spelling, &Segments::chosen, this, [this](int index) {
        if (index < int(state.spellings.size()))
            emit spellingChosen(QString::fromStdString(state.spellings[std::size_t(index)].value));
    });
}

void SettingsPage::addAbout(QVBoxLayout& page) {
    headings[about] = new Label(theme, TextStyle::section, tr("About"), Token::text, this);
    page.addWidget(headings[about]);
    auto* card = new Card(theme, this);
    auto* widget = new QWidget(card);
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
    card->content().addWidget(widget);
    page.addWidget(card);
}

void SettingsPage::show(const SettingsState& newState) {
    if (filled && newState == state) return;
    const bool languagesChanged = !filled || newState.languages != state.languages;
    const bool spellingsChanged = !filled || newState.spellings != state.spellings;
    const bool privacyChanged = !filled || newState.privacy != state.privacy;
    state = newState;
    filled = true;
    showToken();
    modelRows->show(state.models, state.modelsChecking);
    if (privacyChanged) showPrivacy(state.privacy);
    if (languagesChanged) {
        language->clear();
        language->addItems(namesOf(state.languages));
    }
    language->setCurrentIndex(indexOf(state.languages, state.language));
    if (spellingsChanged) spelling->setChoices(namesOf(state.spellings));
    spelling->setCurrent(indexOf(state.spellings, state.spelling));
    version->setText(QString::fromStdString(state.version));
}

void SettingsPage::clearToken() {
    token->edit().clear();
}

void SettingsPage::showToken() {
    token->edit().setPlaceholderText(state.tokenSaved ? tr("A token is saved. Paste another one")
                                                      : tr("Paste a token"));
    const bool written = !token->text().trimmed().isEmpty();
    // An empty field says "forget it" where a token is kept; elsewhere there is nothing to do.
    saveToken->setText(state.tokenSaved && !written ? tr("Remove") : tr("Save"));
    saveToken->setKind(state.tokenSaved && !written ? Button::Kind::destructive : Button::Kind::normal);
    saveToken->setEnabled(state.tokenSaveEnabled && (written || state.tokenSaved));
    saveToken->updateGeometry();
    tokenState->setText(platformWords(state.tokenState));
    tokenState->setColor(state.tokenStateIsError ? Token::recText : Token::text2);
    tokenState->setVisible(!state.tokenState.empty());
    keptWhere->setText(platformWords(state.tokenKeptWhere));
    keptWhere->setVisible(!state.tokenKeptWhere.empty());
}

void SettingsPage::showPrivacy(const std::vector<SettingsState::Fact>& facts) {
    auto* holder = privacyCard->parentWidget();
    delete privacyCard;
    privacyCard = new Card(theme, holder);
    for (const auto& fact : facts) {
        auto* row = new Row(theme, QString::fromStdString(fact.name), {}, privacyCard);
        row->setLineAbove(&fact != &facts.front());
        auto* value = new Label(theme, TextStyle::caption, platformWords(fact.value), Token::text2, row);
        value->setElideMode(Qt::ElideMiddle);
        row->add(value);
        privacyCard->content().addWidget(row);
    }
    holder->layout()->addWidget(privacyCard);
    holder->setVisible(!facts.empty());
    headings[privacy]->setVisible(!facts.empty());
}

// The tab of the section whose heading was passed last, or of the last one at the page's end.
void SettingsPage::markTab() {
    const QScrollBar& bar = *scroll->verticalScrollBar();
    int now = 0;
    for (int part = 0; part < partCount; ++part) {
        const Label& heading = *headings.at(std::size_t(part));
        const int top = heading.mapTo(scroll->widget(), QPoint(0, 0)).y();
        if (!heading.isHidden() && top <= bar.value() + 24) now = part;
    }
    if (bar.maximum() > 0 && bar.value() == bar.maximum() && tabs->current() > now) return;
    tabs->setCurrent(now);
}

} // namespace tavrin
