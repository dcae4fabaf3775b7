#include "ui/components/ComponentSheet.h"

#include "ui/components/Badge.h"
#include "ui/components/BusyRing.h"
#include "ui/components/Button.h"
#include "ui/components/Card.h"
#include "ui/components/EmptyState.h"
#include "ui/components/KeyCap.h"
#include "ui/components/Label.h"
#include "ui/components/LevelMeter.h"
#include "ui/components/LineField.h"
#include "ui/components/NoticeLine.h"
#include "ui/components/Painting.h"
#include "ui/components/Picker.h"
#include "ui/components/ProgressBar.h"
#include "ui/components/Row.h"
#include "ui/components/Segments.h"
#include "ui/components/StatusDot.h"
#include "ui/components/Switch.h"
#include "ui/components/Tabs.h"
#include "ui/meeting/TranscriptView.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>
#include <utility>

namespace tavrin {

namespace {

// Words of this page are for ourselves and not translated.
QString q(const char* text) {
    return QString::fromUtf8(text);
}

/// Draws a focus ring around the one thing in it, as the window's ring does.
class Ringed final : public QWidget {
public:
    Ringed(const Theme& shown, QWidget* part, double ringRadius) : theme(shown), inner(part), radius(ringRadius) {
        auto* row = new QHBoxLayout(this);
        row->setContentsMargins(4, 4, 4, 4);
        row->addWidget(part);
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        drawFocusRing(painter, inner->geometry(), radius, theme.color(Token::accent));
    }

private:
    const Theme& theme;
    QWidget* inner;
    double radius;
};

QHBoxLayout* addRow(Card& card) {
    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    card.content().addLayout(row);
    return row;
}

} // namespace

ComponentSheet::ComponentSheet(const Theme& shown, QWidget* parent) : QWidget(parent), theme(shown) {
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(20, 20, 20, 20);
    whole->setSpacing(16);
    whole->addWidget(buttons());
    whole->addWidget(fields());
    auto* columns = new QHBoxLayout;
    columns->setSpacing(16);
    auto* left = new QVBoxLayout;
    auto* right = new QVBoxLayout;
    for (QVBoxLayout* column : {left, right}) {
        column->setSpacing(16);
        columns->addLayout(column, 1);
    }
    for (Card* each : {switches(), meters(), rows(), emptyState(), type()})
        left->addWidget(each);
    for (Card* each : {badges(), transcript(), tabs(), notices()})
        right->addWidget(each);
    left->addStretch(1);
    right->addStretch(1);
    whole->addLayout(columns);
    setFixedWidth(1120);
}

void ComponentSheet::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme.color(Token::window));
}

Card* ComponentSheet::card(const QString& title, const QString& measures) {
    auto* made = new Card(theme, this);
    made->content().setContentsMargins(20, 16, 20, 16);
    made->content().setSpacing(14);
    auto* head = new QHBoxLayout;
    head->setSpacing(12);
    head->addWidget(new Label(theme, TextStyle::section, title, Token::text, made));
    head->addWidget(new Label(theme, TextStyle::caption, measures, Token::text2, made), 1);
    made->content().addLayout(head);
    return made;
}

void ComponentSheet::put(QHBoxLayout& row, QWidget* part, const QString& name) {
    auto* column = new QVBoxLayout;
    column->setSpacing(6);
    column->addStretch(1);
    column->addWidget(part, 0, Qt::AlignLeft);
    column->addWidget(new Label(theme, TextStyle::caption, name, Token::text2, this));
    row.addLayout(column);
}

Card* ComponentSheet::buttons() {
    Card* made = card(q("Buttons"), q("32 high, 28 small, padding 12, radius 6, text 13 medium, icon 16, gap 8"));
    struct Sample {
        Button::Kind kind;
        const char* text;
        const char* icon;
    };
    using enum Button::Kind;
    constexpr std::array samples{Sample{primary, "Sync", "sync"}, Sample{normal, "Cancel", ""},
                                 Sample{red, "Stop", "stop"}, Sample{destructive, "Delete", "trash"},
                                 Sample{quiet, "Quiet", ""}};
    using Look = Button::Look;
    constexpr std::array looks{std::pair{Look::normal, "normal"}, std::pair{Look::hover, "hover"},
                               std::pair{Look::pressed, "pressed"}, std::pair{Look::focus, "focus"},
                               std::pair{Look::disabled, "disabled"}};
    QHBoxLayout* row = addRow(*made);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (i % 2 == 0 && i > 0) row = addRow(*made);
        for (const auto& [look, name] : looks) {
            auto* button = new Button(theme, samples[i].kind, q(samples[i].text), q(samples[i].icon));
            button->pinLook(look);
            put(*row, look == Look::focus ? static_cast<QWidget*>(new Ringed(theme, button, 6)) : button, q(name));
        }
        if (i % 2 == 0 && i + 1 < samples.size()) row->addStretch(1);
    }
    put(*row, new Button(theme, Button::Kind::normal, q("sync"), q("Sync"), Button::Size::normal, this), q("icon 32"));
    put(*row, new Button(theme, quiet, q("close"), q("Close"), Button::Size::small, this), q("icon 28"));
    auto* small = new Button(theme, Button::Kind::normal, q("Small"));
    small->setSize(Button::Size::small);
    put(*row, small, q("small 28"));
    put(*row, new Button(theme, link, q("View all tasks")), q("link"));
    put(*row, new KeyCap(theme, {q("Ctrl"), q("R")}), q("key 20"));
    row->addStretch(1);
    return made;
}

Card* ComponentSheet::fields() {
    Card* made = card(q("Fields and pickers"), q("32 high, padding 10, radius 6, line 1; help 11 below, gap 4"));
    QHBoxLayout* row = addRow(*made);
    const auto field = [&](const char* name, const char* placeholder, const char* text, int width) {
        auto* each = new LineField(theme, q(name), q(placeholder));
        each->edit().setText(q(text));
        each->setFixedWidth(width);
        put(*row, each, q(name));
        return each;
    };
    field("empty", "Placeholder", "", 160);
    field("filled", "", "Halden Foods", 160);
    field("focus, line 2", "", "Halden", 160)->pinFocus();
    field("error", "", "", 160)->setError(q("Task title is required."));
    field("disabled", "", "Disabled", 112)->setEnabled(false);
    auto* picker = new Picker(theme, q("Workspace"), q("folder"));
    picker->addItem(q("Lindqvist Studio"));
    picker->setPreferredWidth(184);
    put(*row, picker, q("picker"));
    row->addStretch(1);
    row = addRow(*made);
    auto* search = new LineField(theme, q("search"), q("Search titles and text"), q("search"));
    search->setFixedWidth(220);
    put(*row, search, q("search"));
    auto* segments = new Segments(theme, q("Priority"), {q("Low"), q("Medium"), q("High"), q("Urgent")});
    segments->setCurrent(1);
    put(*row, segments, q("segments 32, inner 28"));
    row->addStretch(1);
    return made;
}

Card* ComponentSheet::switches() {
    Card* made = card(q("Switches"), q("34×20, knob 14"));
    QHBoxLayout* row = addRow(*made);
    for (const char* name : {"off", "on", "focus", "disabled"}) {
        auto* each = new Switch(theme, q(name));
        each->setChecked(name[1] == 'n' || name[0] == 'f');
        each->setEnabled(name[0] != 'd');
        if (name[1] == 'f') each->setChecked(false);
        put(*row, name[0] == 'f' ? static_cast<QWidget*>(new Ringed(theme, each, 10)) : each, q(name));
    }
    row->addStretch(1);
    return made;
}

Card* ComponentSheet::meters() {
    Card* made = card(q("Progress, meters"), q("4 high, radius 2; peak mark 2×8, held 600 ms"));
    QHBoxLayout* row = addRow(*made);
    auto* progress = new ProgressBar(theme, q("Progress"));
    progress->setValue(62);
    progress->setFixedWidth(132);
    put(*row, progress, q("progress"));
    for (const auto& [name, token, level, mark] :
         {std::tuple{"Me", Token::accent, 0.58F, 0.66F}, std::tuple{"Them", Token::them, 0.71F, 0.82F}}) {
        auto* meter = new LevelMeter(theme, token, q(name));
        meter->pin(level, mark);
        meter->setFixedWidth(112);
        put(*row, meter, q(name));
    }
    put(*row, new BusyRing(theme, q("Busy")), q("busy 16"));
    row->addStretch(1);
    return made;
}

Card* ComponentSheet::rows() {
    Card* made = card(q("Rows"), q("44, with caption 52"));
    auto* list = new QVBoxLayout;
    made->content().addLayout(list);
    made->content().setContentsMargins(0, 16, 0, 0);
    made->content().itemAt(0)->layout()->setContentsMargins(20, 0, 20, 0);
    list->setSpacing(0);
    auto* first = new Row(theme, q("Start with the computer"));
    first->add(new Switch(theme, q("Start with the computer")));
    auto* second = new Row(theme, q("Meeting reminders"), q("One minute before a meeting of your calendar"));
    second->setMinimumRowHeight(52);
    second->add(new Badge(theme, Badge::Kind::warning, q("High")));
    for (Row* each : {first, second}) {
        each->setLineAbove(true);
        list->addWidget(each);
    }
    return made;
}

Card* ComponentSheet::emptyState() {
    Card* made = card(q("Empty state"), q("mark 32, gap 16, title 15, text 13 at most 380 wide, gap 12, one button"));
    auto* state =
        new EmptyState(theme, q("meeting"), q("No meetings yet"), q("Previous meetings will appear here for 30 days."));
    state->add(new Button(theme, Button::Kind::normal, q("Start Recording"), q("record")));
    state->setMinimumHeight(150);
    made->content().addWidget(state);
    return made;
}

Card* ComponentSheet::type() {
    Card* made = card(q("Type"), q("Inter; the system font where it is missing"));
    for (const auto& [style, text, what] :
         {std::tuple{TextStyle::numerals, "24:17", "28 / 32 semibold, tabular"},
          std::tuple{TextStyle::page, "Page title", "22 / 28 semibold, one on a page"},
          std::tuple{TextStyle::section, "Section head", "15 / 20 semibold, above a card"},
          std::tuple{TextStyle::text, "Text", "13 / 20 regular, medium on buttons, semibold for names"},
          std::tuple{TextStyle::paragraph, "Transcript, notes", "13 / 19 regular, paragraphs"},
          std::tuple{TextStyle::caption, "Caption", "11 / 16 regular, medium on badges and labels"}}) {
        QHBoxLayout* row = addRow(*made);
        auto* sample = new Label(theme, style, q(text));
        sample->setTabular(style == TextStyle::numerals);
        sample->setFixedWidth(184);
        row->addWidget(sample);
        row->addWidget(new Label(theme, TextStyle::caption, q(what), Token::text2), 1);
    }
    return made;
}

Card* ComponentSheet::badges() {
    Card* made = card(q("Badges"), q("20 high, radius 4, text 11 medium"));
    QHBoxLayout* row = addRow(*made);
    row->setSpacing(12);
    row->addWidget(new Badge(theme, Badge::Kind::plain, q("Halden Foods")));
    row->addWidget(new Badge(theme, Badge::Kind::good, q("Prep ready"), q("check")));
    row->addWidget(new Badge(theme, Badge::Kind::warning, q("High")));
    row->addWidget(new Badge(theme, Badge::Kind::error, q("Urgent")));
    row->addWidget(new Badge(theme, Badge::Kind::them, q("Them")));
    row->addWidget(new StatusDot(theme, Token::rec));
    row->addWidget(new Label(theme, TextStyle::captionMedium, q("Recording"), Token::recText), 1);
    return made;
}

Card* ComponentSheet::transcript() {
    Card* made = card(q("Transcript"), q("edge 3, gap 13, text 13 / 19, groups 16, lines 4, at most 680 wide"));
    auto* lines = new TranscriptLines(made);
    const auto line = [](SegmentId id, const char* speaker, const char* text) {
        TranscriptSegment segment;
        segment.id = id;
        segment.speakerLabel = speaker;
        segment.text = text;
        segment.date = Date::fromUnix(1'773'310'982 + double(id) * 18);
        if (segment.speakerLabel != meLabel) segment.themSpeakerIndex = 0;
        return segment;
    };
    lines->setLines({line(0, "Me", "Four days is tight, but it works."),
                     line(1, "Them", "Yes. And who signs off the texts?"),
                     line(2, "Them", "I would rather have one name."),
                     line(3, "Anke Brandt", "Further speakers take one of eight colours.")});
    auto* view = new TranscriptView(theme, *lines);
    view->setInterim(q("Transcribing…"));
    view->setFixedHeight(260);
    made->content().setContentsMargins(0, 16, 0, 4);
    made->content().itemAt(0)->layout()->setContentsMargins(20, 0, 20, 0);
    made->content().addWidget(view);
    return made;
}

Card* ComponentSheet::tabs() {
    Card* made = card(q("Tabs"), q("tab 36, mark 2"));
    auto* row = new Tabs(theme, q("Panel"), {q("Prep"), q("Calendar"), q("Review")});
    row->setCurrent(2);
    made->content().addWidget(row);
    return made;
}

Card* ComponentSheet::notices() {
    Card* made = card(q("Lines"), q("36 high, radius 6, icon 16, one action at most"));
    made->content().setSpacing(8);
    auto* info = new NoticeLine(theme, NoticeLine::Kind::info, q("Saved audio is still on disk."));
    info->setAction(q("Retry transcription"));
    auto* warning = new NoticeLine(theme, NoticeLine::Kind::warning, q("Monthly recording limit reached."));
    warning->setClosable(true);
    auto* error = new NoticeLine(theme, NoticeLine::Kind::error, q("Microphone access denied."));
    error->setAction(q("Open Settings"));
    for (NoticeLine* each : {info, warning, error})
        made->content().addWidget(each);
    return made;
}

} // namespace tavrin
