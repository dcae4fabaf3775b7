#include "ui/settings/AccountSection.h"

#include "ui/PlatformWords.h"
#include "ui/components/Button.h"
#include "ui/components/Card.h"
#include "ui/components/Label.h"
#include "ui/components/LineField.h"
#include "ui/components/Row.h"
#include "ui/components/Switch.h"

#include <QKeyEvent>
#include <QVBoxLayout>

namespace tavrin {

namespace {

constexpr int longestToken = 4096;
constexpr int longestAddress = 2048;
constexpr int fieldWidth = 264;
constexpr int widestTokenField = 320; // beside it stands a button

} // namespace

AccountSection::AccountSection(const Theme& shown, QWidget* parent) : SettingsSection(shown, tr("Account"), parent) {
    addRow(tr("Not signed in"), tr("Signing in comes with a later version. A token is enough."));
    addToken();
    addServer();
    start = addSwitch(tr("Start with the computer"), {}, SettingsSwitch::startWithComputer);
    startRow = qobject_cast<Row*>(start->parentWidget());
    startRow->setCaptionColor(Token::recText); // there is one when something went wrong
}

void AccountSection::addToken() {
    auto* whole = new QWidget(&card());
    auto* stack = new QVBoxLayout(whole);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);
    auto* row = new Row(theme, tr("API token"), {}, whole);
    row->setLineAbove(true);
    token = new LineField(theme, tr("API token"), tr("Paste a token"), {}, row);
    token->edit().setEchoMode(QLineEdit::Password);
    token->edit().setMaxLength(longestToken);
    const auto fit = [this] { token->setFixedWidth(qMin(theme.scaled(fieldWidth), widestTokenField)); };
    fit();
    connect(&theme, &Theme::changed, token, fit);
    saveToken = new Button(theme, Button::Kind::normal, tr("Save"), {}, row);
    row->add(token);
    row->add(saveToken);
    stack->addWidget(row);
    auto* words = new QVBoxLayout;
    words->setContentsMargins(16, 0, 16, 12);
    tokenState = new Label(theme, TextStyle::caption, {}, Token::text2, whole);
    keptWhere = new Label(theme, TextStyle::caption, {}, Token::text2, whole);
    for (Label* line : {tokenState, keptWhere}) {
        line->setWordWrap(true);
        words->addWidget(line);
    }
    words->setSpacing(0);
    stack->addLayout(words);
    card().content().addWidget(whole);
    const auto save = [this] {
        if (saveToken->isEnabled()) emit tokenSaveRequested(token->text().trimmed());
    };
    connect(saveToken, &Button::clicked, this, save);
    connect(&token->edit(), &QLineEdit::returnPressed, this, save);
    connect(&token->edit(), &QLineEdit::textChanged, this, &AccountSection::showToken);
}

void AccountSection::addServer() {
    serverRow = addRow(tr("Server"), QStringLiteral(" "));
    server = new LineField(theme, tr("Server"), {}, {}, serverRow);
    server->edit().setMaxLength(longestAddress);
    server->edit().setInputMethodHints(Qt::ImhUrlCharactersOnly);
    server->edit().installEventFilter(this);
    const auto fit = [this] { server->setFixedWidth(theme.scaled(fieldWidth)); };
    fit();
    connect(&theme, &Theme::changed, server, fit);
    serverRow->add(server);
    connect(&server->edit(), &QLineEdit::editingFinished, this, &AccountSection::enterServer);
    connect(&server->edit(), &QLineEdit::textEdited, this, [this] { refuseServerAddress({}); });
}

void AccountSection::show(const SettingsState& state) {
    tokenSaved = state.tokenSaved;
    tokenSaveEnabled = state.tokenSaveEnabled;
    showToken();
    tokenState->setText(platformWords(state.tokenState));
    tokenState->setColor(state.tokenStateIsError ? Token::recText : Token::text2);
    tokenState->setVisible(!state.tokenState.empty());
    keptWhere->setText(platformWords(state.tokenKeptWhere));
    keptWhere->setVisible(!state.tokenKeptWhere.empty());

    const QString address = QString::fromStdString(state.serverAddress);
    const QString standard = QString::fromStdString(state.defaultServerAddress);
    const QString which =
        address == standard ? tr("The usual one") : tr("Your own; empty the field for %1").arg(standard);
    serverRow->setCaption(which);
    serverRow->setToolTip(which); // it may be cut
    server->edit().setPlaceholderText(standard);
    if (address != serverInForce || !server->edit().hasFocus()) {
        serverInForce = address;
        if (serverRefused.isEmpty()) showServer();
    }
    setPresent(*startRow, state.startsWithComputer.has_value());
    showSwitch(*start, state.startsWithComputer.value_or(false));
    startRow->setCaption(platformWords(state.startError));
    startRow->setToolTip(platformWords(state.startError));
}

void AccountSection::clearToken() {
    token->edit().clear();
}

void AccountSection::showToken() {
    token->edit().setPlaceholderText(tokenSaved ? tr("A token is saved. Paste another one") : tr("Paste a token"));
    const bool written = !token->text().trimmed().isEmpty();
    // An empty field says "forget it" where a token is kept; elsewhere there is nothing to do.
    saveToken->setText(tokenSaved && !written ? tr("Remove") : tr("Save"));
    saveToken->setKind(tokenSaved && !written ? Button::Kind::destructive : Button::Kind::normal);
    saveToken->setEnabled(tokenSaveEnabled && (written || tokenSaved));
    saveToken->updateGeometry();
}

// The server

void AccountSection::showServer() {
    server->edit().setText(serverInForce);
    server->edit().setCursorPosition(0);
}

void AccountSection::enterServer() {
    const QString typed = server->text().trimmed();
    if (typed == serverRefused && !typed.isEmpty()) return;
    if (typed == serverInForce) return showServer();
    emit serverAddressEntered(typed);
    if (serverRefused.isEmpty()) showServer(); // as it is kept, which may differ from what was typed
}

void AccountSection::refuseServerAddress(const QString& reason) {
    serverRefused = reason.isEmpty() ? QString() : server->text().trimmed();
    server->setError(reason);
}

bool AccountSection::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        refuseServerAddress({});
        showServer();
        return true;
    }
    return SettingsSection::eventFilter(watched, event);
}

} // namespace tavrin
