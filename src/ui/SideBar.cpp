#include "ui/SideBar.h"

#include "ui/NavButton.h"
#include "ui/components/IconView.h"
#include "ui/components/Label.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace tavrin {

namespace {

constexpr int padding = 8;

struct SectionLook {
    const char* name;
    const char* icon;
};

constexpr std::array<SectionLook, sectionCount> looks{{
    {QT_TRANSLATE_NOOP("tavrin::SideBar", "Home"), "home"},
    {QT_TRANSLATE_NOOP("tavrin::SideBar", "Today"), "today"},
    {QT_TRANSLATE_NOOP("tavrin::SideBar", "Meeting"), "meeting"},
    {QT_TRANSLATE_NOOP("tavrin::SideBar", "Screen Recording"), "screen"},
    {QT_TRANSLATE_NOOP("tavrin::SideBar", "Notes"), "note"},
    {QT_TRANSLATE_NOOP("tavrin::SideBar", "Dictation"), "dictation"},
    {QT_TRANSLATE_NOOP("tavrin::SideBar", "Activity"), "activity"},
    {QT_TRANSLATE_NOOP("tavrin::SideBar", "Settings"), "settings"},
}};

const SectionLook& lookOf(Section section) {
    return looks.at(static_cast<std::size_t>(section));
}

} // namespace

QString sectionName(Section section) {
    return QCoreApplication::translate("tavrin::SideBar", lookOf(section).name);
}

QString sectionIcon(Section section) {
    return QString::fromLatin1(lookOf(section).icon);
}

SideBar::SideBar(const Theme& shown, QWidget* parent)
    : QWidget(parent), theme(shown), column(new QVBoxLayout(this)), brand(new QWidget(this)) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    column->setSpacing(2);
    column->setContentsMargins(padding, 16, padding + 1, padding); // the line at the right is 1
    auto* brandRow = new QHBoxLayout(brand);
    brandRow->setContentsMargins(8, 0, 8, 0);
    brandRow->setSpacing(10);
    brandRow->addWidget(new IconView(theme, QStringLiteral("app"), 20, Token::text, brand));
    brandRow->addWidget(new Label(theme, TextStyle::textStrong, tr("Tavrin Assistant"), Token::text, brand), 1);
    column->addWidget(brand);
    column->addSpacing(14);
    for (int i = 0; i < sectionCount; ++i) {
        const auto section = static_cast<Section>(i);
        auto* button = new NavButton(theme, sectionName(section), sectionIcon(section), this);
        connect(button, &NavButton::clicked, this, [this, section] { emit sectionChosen(section); });
        buttons.append(button);
        column->addWidget(button);
    }
    column->addStretch(1);
    account = new AccountButton(theme, this); // made last: the Tab key comes to it last
    column->addWidget(account);
    connect(account, &AccountButton::clicked, this, &SideBar::accountChosen);
    connect(&theme, &Theme::changed, this, &SideBar::updateGeometry);
    setCurrent(Section::home);
}

void SideBar::setCurrent(Section section) {
    buttons.at(static_cast<int>(section))->setChecked(true);
    // One stop for the Tab key, the section that is shown; the arrow keys go on from there.
    for (NavButton* button : buttons)
        button->setFocusPolicy(button->isChecked() ? Qt::TabFocus : Qt::NoFocus);
}

void SideBar::setCompact(bool wanted) {
    if (compact == wanted) return;
    compact = wanted;
    brand->layout()->setContentsMargins(compact ? 10 : 8, 0, compact ? 10 : 8, 0);
    brand->findChild<Label*>()->setVisible(!compact);
    for (NavButton* button : buttons)
        button->setCompact(compact);
    account->setCompact(compact);
    updateGeometry();
}

void SideBar::setLiveTime(const QString& time, bool pulsing) {
    buttons.at(static_cast<int>(Section::meeting))->setLiveTime(time, pulsing);
}

void SideBar::setCount(Section section, int count) {
    buttons.at(static_cast<int>(section))->setCount(count);
}

void SideBar::setAccount(const QString& name, const QString& detail) {
    account->setAccount(name, detail);
}

QSize SideBar::sizeHint() const {
    return {buttons.front()->sizeHint().width() + 2 * padding + 1, column->sizeHint().height()};
}

void SideBar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme.color(Token::side));
    painter.fillRect(width() - 1, 0, 1, height(), theme.color(Token::line));
}

} // namespace tavrin
