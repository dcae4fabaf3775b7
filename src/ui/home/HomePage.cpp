#include "ui/home/HomePage.h"

#include "ui/PlatformWords.h"
#include "ui/components/Button.h"
#include "ui/components/Card.h"
#include "ui/components/EmptyState.h"
#include "ui/components/IconView.h"
#include "ui/components/KeyCap.h"
#include "ui/components/Label.h"
#include "ui/components/ScrollPage.h"

#include <QDate>
#include <QHBoxLayout>
#include <QLocale>
#include <QVBoxLayout>

namespace tavrin {

namespace {

/// A column of the page: a heading, and below it a card that says what will be there.
QVBoxLayout* emptyColumn(const Theme& theme, const QString& heading, const QString& icon, const QString& title,
                         const QString& text) {
    auto* column = new QVBoxLayout;
    column->setSpacing(8);
    auto* head = new Label(theme, TextStyle::section, heading);
    column->addWidget(head);
    auto* card = new Card(theme);
    card->content().setContentsMargins(24, 24, 24, 24);
    card->setMinimumHeight(260);
    card->content().addWidget(new EmptyState(theme, icon, title, text));
    column->addWidget(card, 1);
    return column;
}

} // namespace

HomePage::HomePage(const Theme& shown, QWidget* parent)
    : QWidget(parent), theme(shown), title(new Label(theme, TextStyle::page)),
      heading(new Label(theme, TextStyle::section)), text(new Label(theme, TextStyle::text, {}, Token::text2)),
      keys(new KeyCap(theme, {QStringLiteral("Ctrl"), QStringLiteral("R")})),
      button(new Button(theme, Button::Kind::primary, {})), columns(new QBoxLayout(QBoxLayout::LeftToRight)) {
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    auto* page = new ScrollPage(theme, this);
    whole->addWidget(page);
    title->setMinimumHeight(32);
    page->content().addWidget(title);
    page->content().addWidget(meetingCard());
    columns->setSpacing(24);
    columns->addLayout(emptyColumn(theme, tr("Recent meetings"), QStringLiteral("waveform"),
                                   tr("No list of meetings yet"),
                                   tr("Previous meetings will appear here for 30 days. The list comes with a later "
                                      "version.")),
                       2);
    columns->addLayout(emptyColumn(theme, tr("Today"), QStringLiteral("today"), tr("No tasks yet"),
                                   tr("Tasks due today will appear here. They come with a later version.")),
                       1);
    page->content().addLayout(columns, 1);
    connect(&theme, &Theme::changed, this, &HomePage::fit);
    connect(button, &Button::clicked, this,
            [this] { meetingIsOpen ? emit meetingRequested() : emit startRequested(); });
    show(MeetingState{});
}

/// What can be done now, as a card over the whole width.
QWidget* HomePage::meetingCard() {
    auto* card = new Card(theme);
    card->content().setContentsMargins(24, 20, 20, 20);
    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    row->addWidget(new IconView(theme, QStringLiteral("meeting"), 32, Token::accentText, card));
    auto* words = new QVBoxLayout;
    words->setSpacing(0);
    words->addStretch(1);
    for (Label* label : {heading, text}) {
        label->setWordWrap(true);
        words->addWidget(label);
    }
    words->addStretch(1);
    row->addLayout(words, 1);
    row->addWidget(keys);
    row->addWidget(button);
    card->content().addLayout(row);
    return card;
}

void HomePage::show(const MeetingState& state) {
    meetingIsOpen = isOpen(state.phase);
    keys->setVisible(!meetingIsOpen);
    button->setEnabled(meetingIsOpen || state.startEnabled);
    if (meetingIsOpen) {
        heading->setText(state.title.empty() ? tr("Meeting in progress") : QString::fromStdString(state.title));
        text->setText(platformWords(state.statusText));
        button->setText(tr("Open Meeting"));
        button->setIconName(QStringLiteral("meeting"));
    } else {
        heading->setText(tr("Record a meeting"));
        text->setText(tr("Both sides are written down while you talk."));
        button->setText(tr("Start Recording"));
        button->setIconName(QStringLiteral("record"));
    }
}

void HomePage::fit() {
    constexpr int leastLeft = 400;
    const int left = (width() - 64) * 2 / 3;
    columns->setDirection(left < leastLeft * theme.fontScale() ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

void HomePage::resizeEvent(QResizeEvent* /*event*/) {
    fit();
}

void HomePage::showEvent(QShowEvent* /*event*/) {
    title->setText(QLocale().toString(QDate::currentDate(), QStringLiteral("dddd d MMMM")));
}

} // namespace tavrin
