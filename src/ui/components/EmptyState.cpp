#include "ui/components/EmptyState.h"

#include "ui/components/IconView.h"
#include "ui/components/Label.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace tavrin {

namespace {

constexpr int textWidth = 380;

} // namespace

EmptyState::EmptyState(const Theme& theme, const QString& iconName, const QString& title, const QString& text,
                       QWidget* parent)
    : QWidget(parent), column(new QVBoxLayout(this)) {
    auto* heading = new Label(theme, TextStyle::section, title, Token::text, this);
    auto* words = new Label(theme, TextStyle::text, text, Token::text2, this);
    heading->setAlignment(Qt::AlignHCenter);
    words->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    words->setWordWrap(true);
    words->setMaximumWidth(theme.scaled(textWidth));
    connect(&theme, &Theme::changed, words, [words, &theme] { words->setMaximumWidth(theme.scaled(textWidth)); });
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addStretch(1);
    column->addWidget(new IconView(theme, iconName, 32, Token::mark, this), 0, Qt::AlignHCenter);
    column->addSpacing(16);
    column->addWidget(heading, 0, Qt::AlignHCenter);
    column->addSpacing(4);
    auto* centred = new QHBoxLayout; // an alignment would ask for the height of a line as wide as the page
    centred->addStretch(1);
    centred->addWidget(words, 1000);
    centred->addStretch(1);
    column->addLayout(centred);
    column->addStretch(1);
}

void EmptyState::add(QWidget* part, int gapAbove) {
    part->setParent(this);
    const int end = column->count() - 1;
    column->insertSpacing(end, gapAbove);
    column->insertWidget(end + 1, part, 0, Qt::AlignHCenter);
}

} // namespace tavrin
