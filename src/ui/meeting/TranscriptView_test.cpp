#include "support/time/ThreadTimerTestSupport.h"
#include "ui/UiTestSupport.h"
#include "ui/meeting/TranscriptView.h"
#include "ui/meeting/TranscriptWords.h"

#include <QClipboard>
#include <QScrollBar>

namespace tavrin {
namespace {

class TranscriptViewTest : public UiTest {
protected:
    TranscriptViewTest() {
        view.resize(640, 300);
        view.show();
        settle();
    }

    /// Alternating speakers, so that each line is a group; every third line wraps.
    static std::vector<TranscriptSegment> talk(int count) {
        return dialogue(count, [](int i) {
            std::string text = "Line " + std::to_string(i);
            for (int words = 0; i % 3 == 0 && words < 40; ++words)
                text += " more of it";
            return text;
        });
    }

    QScrollBar& bar() { return *view.verticalScrollBar(); }

    void mouse(QEvent::Type type, QPoint at) { mouseEvent(*view.viewport(), type, at); }

    void click(QPoint at) {
        mouse(QEvent::MouseButtonPress, at);
        mouse(QEvent::MouseButtonRelease, at);
    }

    /// The middle of a word of a line, in the viewport.
    QPoint middleOf(int line, const QString& word) {
        const int at = int(shown.at(line).text.indexOf(word));
        return view.inViewport(view.page().rowsOf({{line, at}, {line, at + int(word.size())}}).front())
            .center()
            .toPoint();
    }

    QString wordOf(const std::optional<TextRange>& range) {
        return range ? shown.copyOf(*range) : QStringLiteral("none");
    }

    TranscriptLines shown;
    TranscriptView view{theme, shown};
};

TEST_F(TranscriptViewTest, consecutive_lines_of_a_speaker_stand_under_one_caption) {
    auto lines = std::vector{line(1, "Me", "a"),   line(2, "Me", "b"),   line(3, "Them", "c"),
                             line(4, "Anke", "d"), line(5, "Anke", "e"), line(6, "Me", "f")};
    shown.setLines(lines);
    const auto sizes = [&] {
        std::vector<int> result;
        for (const auto& group : shown.groups())
            result.push_back(group.lines);
        return result;
    };
    EXPECT_EQ(sizes(), (std::vector{2, 1, 2, 1}));
    lines.push_back(line(7, "Me", "g"));
    shown.setLines(lines);
    EXPECT_EQ(sizes(), (std::vector{2, 1, 2, 2}));
    lines.erase(lines.begin() + 2); // the line between was taken back
    shown.setLines(lines);
    EXPECT_EQ(sizes(), (std::vector{2, 2, 2}));
    shown.setLines({});
    EXPECT_TRUE(shown.groups().empty());
}

TEST_F(TranscriptViewTest, follows_the_end_only_while_standing_there_and_else_keeps_what_is_read) {
    auto lines = talk(60);
    shown.setLines(lines);
    EXPECT_TRUE(view.standsAtEnd());
    lines.push_back(line(500, "Them", "one more"));
    shown.setLines(lines);
    view.setInterim(QStringLiteral("Transcribing…"));
    EXPECT_TRUE(view.standsAtEnd());
    EXPECT_GT(bar().value(), 0);

    bar().setValue(bar().maximum() / 2);
    const int at = bar().value();
    lines.push_back(line(501, "Me", "and another"));
    shown.setLines(lines);
    view.setInterim({});
    EXPECT_EQ(bar().value(), at);

    const auto before = view.reading();
    ASSERT_TRUE(before);
    lines.insert(lines.begin() + 2, line(900, "Them", "A late line of some length that came from the other side."));
    lines[5].text += " and it grew by so many words that it needs another line or two to stand on the page at all";
    shown.setLines(lines);
    const auto after = view.reading();
    ASSERT_TRUE(after);
    EXPECT_EQ(after->line, before->line);
    EXPECT_NEAR(after->above, before->above, 1);
}

TEST_F(TranscriptViewTest, what_is_read_stays_when_the_width_or_the_type_changes) {
    shown.setLines(talk(80));
    bar().setValue(bar().maximum() / 3);
    const auto before = view.reading();
    view.resize(420, 300);
    settle();
    EXPECT_EQ(view.reading()->line, before->line);
    theme.setFontScale(2);
    EXPECT_EQ(view.reading()->line, before->line);
}

TEST_F(TranscriptViewTest, the_type_grows_around_what_is_read) {
    shown.setLines(talk(80));
    bar().setValue(bar().maximum() / 2);
    const auto before = view.reading();
    const int usual = view.page().lineHeight();
    for (const double factor : {2.0, 0.8, 1.25}) {
        view.setZoom(factor);
        EXPECT_EQ(view.page().lineHeight(), qRound(usual * factor));
        EXPECT_EQ(view.reading()->line, before->line);
    }
}

TEST_F(TranscriptViewTest, what_was_never_seen_is_measured_without_a_jump) {
    // Letters that are much narrower and much wider than any estimate takes them for.
    shown.setLines(dialogue(200, [](int i) { return std::string(300, i % 3 ? 'i' : 'W'); }));
    constexpr int step = 7;
    const auto topOnScreen = [&](int group) { return view.page().boxes()[std::size_t(group)].top - bar().value(); };
    for (int i = 0; i < 2000 && bar().value() > step; ++i) {
        const int last = int(view.reading()->line); // the group below the one at the top
        const double before = topOnScreen(last);
        bar().setValue(bar().value() - step);
        ASSERT_NEAR(topOnScreen(last), before + step, 1) << "at group " << last;
    }
    bar().setValue(0);
    EXPECT_EQ(view.reading()->line, 1U);
}

TEST_F(TranscriptViewTest, text_is_selected_across_lines_and_copied) {
    shown.setLines({line(1, "Me", "First words"), line(2, "Me", "second words"), line(3, "Them", "third words")});
    view.selectAll();
    press(view, Qt::Key_C, Qt::ControlModifier);
    const QString all = QApplication::clipboard()->text();
    EXPECT_TRUE(all.startsWith(QStringLiteral("Me "))) << qPrintable(all);
    EXPECT_TRUE(all.contains(QStringLiteral("First words\nsecond words\nThem ")));
    EXPECT_TRUE(all.endsWith(QStringLiteral("third words")));

    const QPoint inFirst(60, 16 + 20 + 9);
    mouse(QEvent::MouseButtonDblClick, inFirst);
    EXPECT_EQ(view.selectedText(), QStringLiteral("First"));
    mouse(QEvent::MouseButtonPress, QPoint(48, inFirst.y()));
    mouse(QEvent::MouseMove, QPoint(600, inFirst.y() + 23));
    EXPECT_EQ(view.selectedText(), QStringLiteral("First words\nsecond words"));
}

TEST_F(TranscriptViewTest, a_selection_and_a_marked_word_last_until_their_own_lines_change) {
    auto lines = talk(6);
    shown.setLines(lines);
    view.selectAll();
    lines.push_back(line(70, "Me", "later"));
    shown.setLines(lines);
    EXPECT_FALSE(view.selectedText().isEmpty());
    lines[3].text = "short";
    shown.setLines(lines);
    EXPECT_TRUE(view.selectedText().isEmpty());

    view.moveTo(wordFrom(shown, {.line = 2}));
    lines.insert(lines.begin(), line(90, "Anke", "A line that came late."));
    shown.setLines(lines);
    ASSERT_TRUE(view.word());
    EXPECT_EQ(view.word()->from.line, 3);
    lines[3].text = "Something else";
    shown.setLines(lines);
    EXPECT_FALSE(view.word());
}

TEST_F(TranscriptViewTest, a_click_chooses_a_word_and_a_drag_or_the_end_of_a_selection_does_not) {
    shown.setLines({line(1, "Me", "Well, don't ask Halden Foods."), line(2, "Them", "x")});
    QStringList chosen;
    QObject::connect(&view, &TranscriptView::phraseChosen, [&](const QString& phrase) { chosen += phrase; });
    click(middleOf(0, QStringLiteral("Halden")));
    click(middleOf(0, QStringLiteral("don't")));
    EXPECT_EQ(chosen, (QStringList{QStringLiteral("Halden"), QStringLiteral("don't")}));
    click(middleOf(0, QStringLiteral(",")));
    click(QPoint(630, middleOf(0, QStringLiteral("ask")).y())); // behind the end of the line
    click(QPoint(100, 20));                                     // in the caption
    EXPECT_EQ(chosen.size(), 2);

    const QPoint from = middleOf(0, QStringLiteral("Halden"));
    const QPoint to = middleOf(0, QStringLiteral("oods"));
    mouse(QEvent::MouseButtonPress, from - QPoint(24, 0));
    mouse(QEvent::MouseMove, to + QPoint(14, 0));
    mouse(QEvent::MouseButtonRelease, to + QPoint(14, 0));
    EXPECT_EQ(chosen.size(), 2) << "a drag selects";
    EXPECT_TRUE(view.selectedText().contains(QStringLiteral("Halden Food")));
    click(middleOf(0, QStringLiteral("Halden")));
    EXPECT_EQ(chosen.size(), 3);
    EXPECT_EQ(chosen.last(), QStringLiteral("Halden Foods")) << "without the mark at its end";
    click(middleOf(0, QStringLiteral("Well")));
    EXPECT_EQ(chosen.size(), 3) << "a click elsewhere only ends the selection";
    EXPECT_TRUE(view.selectedText().isEmpty());
    EXPECT_TRUE(phraseIn(shown, {{0, 0}, {0, 5}})) << "a comma at the end goes";
}

TEST_F(TranscriptViewTest, arrow_keys_lead_from_word_to_word_and_enter_chooses) {
    shown.setLines({line(1, "Me", "One, two."), line(2, "Me", "… — three"), line(3, "Them", "Four five six")});
    QStringList chosen;
    QObject::connect(&view, &TranscriptView::phraseChosen, [&](const QString& phrase) { chosen += phrase; });
    const auto after = [&](int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        press(view, key, modifiers);
        return wordOf(view.word());
    };
    press(view, Qt::Key_Return);
    EXPECT_TRUE(chosen.isEmpty()) << "no word yet";
    EXPECT_EQ(after(Qt::Key_Right), QStringLiteral("One"));
    EXPECT_EQ(after(Qt::Key_Right), QStringLiteral("two"));
    EXPECT_EQ(after(Qt::Key_Right, Qt::ControlModifier), QStringLiteral("three"));
    EXPECT_EQ(after(Qt::Key_Down), QStringLiteral("Four")) << "across a caption";
    EXPECT_EQ(after(Qt::Key_Up), QStringLiteral("three"));
    EXPECT_EQ(after(Qt::Key_Up), QStringLiteral("two")) << "the word above it";
    EXPECT_EQ(after(Qt::Key_Up), QStringLiteral("two")) << "the first row";
    EXPECT_EQ(after(Qt::Key_Left), QStringLiteral("One"));
    EXPECT_EQ(after(Qt::Key_Left), QStringLiteral("One")) << "the first word";
    press(view, Qt::Key_Return);
    press(view, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(view.selectedText(), QStringLiteral("One, two"));
    press(view, Qt::Key_Enter);
    EXPECT_EQ(chosen, QStringList{QStringLiteral("One")}) << "a comma inside would make two rules of it";
    press(view, Qt::Key_Escape);
    EXPECT_TRUE(view.selectedText().isEmpty());
    EXPECT_FALSE(view.word());
}

TEST_F(TranscriptViewTest, ten_thousand_lines_cost_a_screenful) {
    auto lines = talk(10'000);
    shown.setLines(lines);
    const ThreadTimer timer;
    constexpr int appended = 50;
    for (int i = 0; i < appended; ++i) {
        lines.push_back(line(20'000 + SegmentId(i), "Me", "Another line that came just now."));
        shown.setLines(lines);
        view.viewport()->repaint();
    }
    EXPECT_LT(timer.milliseconds() / appended, 16 * checkedBuildFactor) << "milliseconds a line: a frame is lost";
    for (const int place : {0, bar().maximum() / 2, bar().maximum()}) {
        bar().setValue(place);
        int measured = 0;
        for (const auto& box : view.page().boxes())
            measured += box.measured;
        EXPECT_LT(measured, 500);
    }
}

} // namespace
} // namespace tavrin
