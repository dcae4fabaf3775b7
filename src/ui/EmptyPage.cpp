#include "ui/EmptyPage.h"

#include "ui/components/Card.h"
#include "ui/components/EmptyState.h"
#include "ui/components/Label.h"
#include "ui/components/ScrollPage.h"

#include <QVBoxLayout>

namespace tavrin {

namespace {

struct Words {
    QString title;
    QString text;
};

Words wordsOf(Section section) {
    switch (section) {
    case Section::today:
        return {EmptyPage::tr("No tasks yet"),
                EmptyPage::tr("Tasks that are overdue, due today or open will appear here. The task list comes with a "
                              "later version.")};
    case Section::screenRecording:
        return {EmptyPage::tr("No screen recordings yet"),
                EmptyPage::tr("Recordings of your screen will appear here, ready to be trimmed. Screen recording comes "
                              "with a later version.")};
    case Section::notes:
        return {EmptyPage::tr("No notes yet"),
                EmptyPage::tr("Notes that you type or speak will appear here. Notes come with a later version.")};
    case Section::dictation:
        return {EmptyPage::tr("No dictations yet"),
                EmptyPage::tr("What you dictate into other windows will appear here until you quit. Dictation comes "
                              "with a later version.")};
    case Section::activity:
        return {EmptyPage::tr("No activity yet"),
                EmptyPage::tr("Your day by application will appear here. Nothing is watched or kept now; activity "
                              "comes with a later version.")};
    case Section::home:
    case Section::meeting:
    case Section::settings:
        break;
    }
    return {sectionName(section), {}};
}

} // namespace

EmptyPage::EmptyPage(const Theme& theme, Section section, QWidget* parent) : QWidget(parent) {
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    auto* page = new ScrollPage(theme, this);
    whole->addWidget(page);
    auto* title = new Label(theme, TextStyle::page, sectionName(section));
    title->setMinimumHeight(32);
    page->content().addWidget(title);
    auto* card = new Card(theme);
    card->content().setContentsMargins(24, 24, 24, 24);
    card->setMinimumHeight(240);
    const Words words = wordsOf(section);
    card->content().addWidget(new EmptyState(theme, sectionIcon(section), words.title, words.text));
    page->content().addWidget(card, 1);
}

} // namespace tavrin
