#include "ui/UiTestSupport.h"
#include "ui/meeting/TranscriptView.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QMouseEvent>
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
    static std::vector<TranscriptSegment> talk(int count, SegmentId first = 1) {
        std::vector<TranscriptSegment> lines;
        for (int i = 0; i < count; ++i) {
            std::string text = "Line " + std::to_string(i);
            for (int words = 0; i % 3 == 0 && words < 40; ++words)
                text += " more of it";
            lines.push_back(line(first + SegmentId(i), i % 2 ? "Me" : "Them", text));
        }
        return lines;
    }

    QScrollBar& bar() { return *view.verticalScrollBar(); }

    void mouse(QEvent::Type type, QPoint at) {
        QMouseEvent event(type, at, view.viewport()->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view.viewport(), &event);
    }

    TranscriptView view{theme};
};

TEST_F(TranscriptViewTest, consecutive_lines_of_a_speaker_stand_under_one_caption) {
    auto lines = std::vector{line(1, "Me", "a"),   line(2, "Me", "b"),   line(3, "Them", "c"),
                             line(4, "Anke", "d"), line(5, "Anke", "e"), line(6, "Me", "f")};
    view.setLines(lines);
    const auto sizes = [&] {
        std::vector<int> result;
        for (const auto& group : view.transcript().groups())
            result.push_back(group.lines);
        return result;
    };
    EXPECT_EQ(sizes(), (std::vector{2, 1, 2, 1}));
    lines.push_back(line(7, "Me", "g"));
    view.setLines(lines);
    EXPECT_EQ(sizes(), (std::vector{2, 1, 2, 2}));
    lines.erase(lines.begin() + 2); // the line between was taken back
    view.setLines(lines);
    EXPECT_EQ(sizes(), (std::vector{2, 2, 2}));
    view.setLines({});
    EXPECT_TRUE(view.transcript().groups().empty());
}

TEST_F(TranscriptViewTest, follows_the_end_only_while_standing_there) {
    auto lines = talk(60);
    view.setLines(lines);
    EXPECT_TRUE(view.standsAtEnd());
    lines.push_back(line(500, "Them", "one more"));
    view.setLines(lines);
    view.setInterim(QStringLiteral("Transcribing…"));
    EXPECT_TRUE(view.standsAtEnd());
    EXPECT_GT(bar().value(), 0);

    bar().setValue(bar().maximum() / 2);
    const int at = bar().value();
    lines.push_back(line(501, "Me", "and another"));
    view.setLines(lines);
    view.setInterim({});
    EXPECT_EQ(bar().value(), at);
}

TEST_F(TranscriptViewTest, what_is_read_stays_when_lines_come_or_change_above) {
    auto lines = talk(80);
    view.setLines(lines);
    bar().setValue(bar().maximum() / 2);
    const auto before = view.reading();
    ASSERT_TRUE(before);
    lines.insert(lines.begin() + 2, line(900, "Them", "A late line of some length that came from the other side."));
    lines[5].text += " and it grew by so many words that it needs another line or two to stand on the page at all";
    view.setLines(lines);
    const auto after = view.reading();
    ASSERT_TRUE(after);
    EXPECT_EQ(after->line, before->line);
    EXPECT_NEAR(after->above, before->above, 1);
}

TEST_F(TranscriptViewTest, what_is_read_stays_when_the_width_or_the_type_changes) {
    view.setLines(talk(80));
    bar().setValue(bar().maximum() / 3);
    const auto before = view.reading();
    view.resize(420, 300);
    settle();
    EXPECT_EQ(view.reading()->line, before->line);
    theme.setFontScale(2);
    EXPECT_EQ(view.reading()->line, before->line);
}

TEST_F(TranscriptViewTest, what_was_never_seen_is_measured_without_a_jump) {
    // Letters that are much narrower and much wider than any estimate takes them for.
    std::vector<TranscriptSegment> lines;
    lines.reserve(200);
    for (int i = 0; i < 200; ++i)
        lines.push_back(line(SegmentId(i) + 1, i % 2 ? "Me" : "Them", std::string(300, i % 3 ? 'i' : 'W')));
    view.setLines(lines);
    constexpr int step = 7;
    const auto topOnScreen = [&](int group) {
        return view.transcript().groups()[std::size_t(group)].top - bar().value();
    };
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
    view.setLines({line(1, "Me", "First words"), line(2, "Me", "second words"), line(3, "Them", "third words")});
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

TEST_F(TranscriptViewTest, a_changed_line_drops_a_selection_in_it_but_not_one_before) {
    auto lines = talk(6);
    view.setLines(lines);
    view.selectAll();
    lines.push_back(line(70, "Me", "later"));
    view.setLines(lines);
    EXPECT_FALSE(view.selectedText().isEmpty());
    lines[3].text = "short";
    view.setLines(lines);
    EXPECT_TRUE(view.selectedText().isEmpty());
}

TEST_F(TranscriptViewTest, ten_thousand_lines_cost_a_screenful) {
    auto lines = talk(10'000);
    view.setLines(lines);
    QElapsedTimer timer;
    timer.start();
    constexpr int appended = 50;
    for (int i = 0; i < appended; ++i) {
        lines.push_back(line(20'000 + SegmentId(i), "Me", "Another line that came just now."));
        view.setLines(lines);
        view.viewport()->repaint();
    }
    EXPECT_LT(double(timer.elapsed()) / appended, 16) << "milliseconds a line: a frame is lost";
    for (const int place : {0, bar().maximum() / 2, bar().maximum()}) {
        bar().setValue(place);
        int measured = 0;
        for (const auto& group : view.transcript().groups())
            measured += group.measured;
        EXPECT_LT(measured, 500);
    }
}

} // namespace

} // namespace tavrin
