#include "ui/home/HomePage.h"

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

/// What can be done now, as a card over the whole width.
Card* recordCard(const Theme& theme, Button& start) {
    auto* card = new Card(theme);
    card->content().setContentsMargins(24, 20, 20, 20);
    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    row->addWidget(new IconView(theme, QStringLiteral("meeting"), 32, Token::accentText, card));
    auto* words = new QVBoxLayout;
    words->setSpacing(0);
    auto* heading = new Label(theme, TextStyle::section, HomePage::tr("Record a meeting"), Token::text, card);
    heading->setWordWrap(true);
    words->addStretch(1);
    words->addWidget(heading);
    auto* text = new Label(theme, TextStyle::text, HomePage::tr("Both sides are written down while you talk."),
                           Token::text2, card);
    text->setWordWrap(true);
    words->addWidget(text);
    words->addStretch(1);
    row->addLayout(words, 1);
    row->addWidget(new KeyCap(theme, {QStringLiteral("Ctrl"), QStringLiteral("R")}, card));
    row->addWidget(&start);
    card->content().addLayout(row);
    return card;
}

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
      start(new Button(theme, Button::Kind::primary, tr("Start Recording"), QStringLiteral("record"))),
      columns(new QBoxLayout(QBoxLayout::LeftToRight)) {
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    auto* page = new ScrollPage(theme, this);
    whole->addWidget(page);
    title->setMinimumHeight(32);
    page->content().addWidget(title);
    page->content().addWidget(recordCard(theme, *start));
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
    connect(start, &Button::clicked, this, &HomePage::startRequested);
}

void HomePage::fit() {
    constexpr int leastLeft = 400;
    const int left = (width() - 64) * 2 / 3;
    columns->setDirection(left < leastLeft * theme.fontScale() ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

void HomePage::resizeEvent(QResizeEvent* /*event*/) {
    fit();
}

void HomePage::setStartEnabled(bool enabled) {
    start->setEnabled(enabled);
}

void HomePage::showEvent(QShowEvent* /*event*/) {
    title->setText(QLocale().toString(QDate::currentDate(), QStringLiteral("dddd d MMMM")));
}

} // namespace tavrin
