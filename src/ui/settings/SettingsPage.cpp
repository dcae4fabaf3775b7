#include "ui/settings/SettingsPage.h"

#include "ui/PlatformWords.h"
#include "ui/Sheet.h"
#include "ui/components/Button.h"
#include "ui/components/EmptyState.h"
#include "ui/components/Label.h"
#include "ui/components/LineField.h"
#include "ui/components/NoticeLine.h"
#include "ui/components/ScrollPage.h"
#include "ui/components/Tabs.h"
#include "ui/settings/AboutSection.h"
#include "ui/settings/AccountSection.h"
#include "ui/settings/DictationSection.h"
#include "ui/settings/MeetingsSection.h"
#include "ui/settings/ModelsSection.h"
#include "ui/settings/PrivacySection.h"
#include "ui/settings/VocabularySection.h"

#include <QAction>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QScrollBar>
#include <QVBoxLayout>

namespace tavrin {

namespace {

constexpr int widestContent = 880;
constexpr int searchWidth = 208;

} // namespace

SettingsPage::SettingsPage(const Theme& shown, QWidget* parent)
    : QWidget(parent), theme(shown), scroll(new ScrollPage(shown, this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 24, 0, 0);
    column->setSpacing(8);
    column->addWidget(makeHead());
    column->addWidget(scroll, 1);
    QVBoxLayout& page = scroll->content();
    page.setContentsMargins(0, 6, 0, 32);
    page.setSpacing(16);
    addSections(page);
    joinSections();
    addSearchKey();
    connect(tabs, &Tabs::chosen, this, &SettingsPage::goTo);
    connect(scroll->verticalScrollBar(), &QScrollBar::valueChanged, this, &SettingsPage::markTab);
}

QWidget* SettingsPage::makeHead() {
    auto* head = new QWidget(this);
    auto* centred = new QHBoxLayout(head);
    centred->setContentsMargins(32, 0, 32, 0);
    auto* narrow = new QWidget(head);
    narrow->setMaximumWidth(widestContent);
    centred->addStretch(1);
    centred->addWidget(narrow, 1000);
    centred->addStretch(1);
    auto* lines = new QVBoxLayout(narrow);
    lines->setContentsMargins(0, 0, 0, 0);
    lines->setSpacing(8);
    auto* top = new QHBoxLayout;
    top->addWidget(new Label(theme, TextStyle::page, tr("Settings"), Token::text, narrow));
    top->addStretch(1);
    field = new LineField(theme, tr("Search settings"), tr("Search settings"), QStringLiteral("search"), narrow);
    field->edit().setClearButtonEnabled(false);
    field->edit().installEventFilter(this);
    const auto fit = [this] { field->setFixedWidth(theme.scaled(searchWidth)); };
    fit();
    connect(&theme, &Theme::changed, field, fit);
    connect(&field->edit(), &QLineEdit::textChanged, this, &SettingsPage::filter);
    top->addWidget(field);
    lines->addLayout(top);
    tabs = new Tabs(
        theme, tr("Sections of the settings"),
        {tr("Account"), tr("Models"), tr("Privacy"), tr("Meetings"), tr("Dictation"), tr("Vocabulary"), tr("About")},
        narrow);
    lines->addWidget(tabs);
    notice = new NoticeLine(theme, NoticeLine::Kind::warning, {}, narrow);
    notice->setClosable(true);
    notice->hide();
    lines->addWidget(notice);
    connect(notice, &NoticeLine::closeRequested, this, &SettingsPage::noticeDismissed);
    return head;
}

void SettingsPage::addSections(QVBoxLayout& page) {
    account = new AccountSection(theme, this);
    models = new ModelsSection(theme, this);
    privacy = new PrivacySection(theme, this);
    meetings = new MeetingsSection(theme, this);
    dictation = new DictationSection(theme, this);
    vocabulary = new VocabularySection(theme, this);
    about = new AboutSection(theme, this);
    sections = {account, models, privacy, meetings, dictation, vocabulary, about};
    for (SettingsSection* section : sections) {
        page.addWidget(section);
        connect(section, &SettingsSection::switched, this, &SettingsPage::switched);
    }
    nothing = new EmptyState(theme, QStringLiteral("search"), tr("Nothing found"),
                             tr("No setting says all of these words. Try fewer, or other ones."), this);
    auto* all = new Button(theme, Button::Kind::normal, tr("Show all settings"), {}, nothing);
    nothing->add(all);
    nothing->hide();
    connect(all, &Button::clicked, this, [this] { search({}); });
    page.addWidget(nothing, 1000);
    page.addStretch(1);
}

void SettingsPage::joinSections() {
    connect(account, &AccountSection::tokenSaveRequested, this, &SettingsPage::tokenSaveRequested);
    connect(account, &AccountSection::serverAddressEntered, this, &SettingsPage::serverAddressEntered);
    connect(models, &ModelsSection::refreshRequested, this, &SettingsPage::modelsRefreshRequested);
    connect(privacy, &PrivacySection::folderOpenRequested, this, &SettingsPage::folderOpenRequested);
    connect(privacy, &PrivacySection::leftAudioDeleteRequested, this, &SettingsPage::leftAudioDeleteRequested);
    connect(meetings, &MeetingsSection::languageChosen, this, &SettingsPage::languageChosen);
    connect(meetings, &MeetingsSection::spellingChosen, this, &SettingsPage::spellingChosen);
    connect(dictation, &DictationSection::hotkeyChosen, this, &SettingsPage::hotkeyChosen);
    connect(vocabulary, &VocabularySection::correctionSaveRequested, this, &SettingsPage::correctionSaveRequested);
    connect(vocabulary, &VocabularySection::correctionDeleteRequested, this, &SettingsPage::correctionDeleteRequested);
}

void SettingsPage::show(const SettingsState& newState) {
    if (filled && newState == state) return;
    state = newState;
    filled = true;
    notice->setText(platformWords(state.notice));
    notice->setVisible(!state.notice.empty());
    account->show(state);
    models->show(state.models, state.modelsChecking);
    privacy->show(state);
    meetings->show(state);
    dictation->show(state);
    vocabulary->show(state);
    about->show(state);
}

void SettingsPage::clearToken() {
    account->clearToken();
}

void SettingsPage::refuseServerAddress(const QString& reason) {
    account->refuseServerAddress(reason);
}

// Finding one's way

void SettingsPage::addSearchKey() {
    auto* key = new QAction(tr("Search settings"), this);
    key->setShortcut(QKeySequence(QStringLiteral("Ctrl+F")));
    addAction(key); // counts while the page is the one that is shown
    connect(key, &QAction::triggered, this, [this] {
        if (isCovered(*this)) return;
        field->edit().setFocus(Qt::ShortcutFocusReason);
        field->edit().selectAll();
    });
}

bool SettingsPage::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        search({});
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void SettingsPage::search(const QString& text) {
    field->edit().setText(text);
}

void SettingsPage::filter(const QString& text) {
    const QStringList words = text.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    bool any = false;
    for (SettingsSection* section : sections)
        any |= section->filter(words);
    nothing->setVisible(!any);
    scroll->verticalScrollBar()->setValue(0);
    markTab();
}

void SettingsPage::goTo(int part) {
    if (!field->text().isEmpty()) {
        search({});
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest); // the sections get their places back
    }
    tabs->setCurrent(part);
    scroll->scrollTo(*sections.at(std::size_t(part)));
}

// The tab of the section whose heading was passed last, or of the last one at the page's end.
void SettingsPage::markTab() {
    const QScrollBar& bar = *scroll->verticalScrollBar();
    int now = 0;
    for (int part = partCount - 1; part >= 0; --part) {
        const SettingsSection& section = *sections.at(std::size_t(part));
        if (section.isHidden()) continue;
        now = part;
        if (section.mapTo(scroll->widget(), QPoint(0, 0)).y() <= bar.value() + 24) break;
    }
    if (bar.maximum() > 0 && bar.value() == bar.maximum() && tabs->current() > now) return;
    tabs->setCurrent(now);
}

} // namespace tavrin
