#include "meeting/TranscriptExport.h"
#include "support/time/ThreadTimerTestSupport.h"
#include "ui/UiTestSupport.h"
#include "ui/meeting/TranscriptView.h"

#include <QAccessible>
#include <algorithm>
#include <chrono>

namespace tavrin {
namespace {

class TranscriptAccessibleTest : public UiTest {
protected:
    TranscriptAccessibleTest() {
        view.resize(640, 300);
        view.show();
        settle();
        text = QAccessible::queryAccessibleInterface(&view)->textInterface();
    }

    QString unit(int offset, QAccessible::TextBoundaryType kind) {
        int from = 0;
        int to = 0;
        const QString result = text->textAtOffset(offset, kind, &from, &to);
        EXPECT_EQ(result, text->text(from, to)) << "the offsets are those of the text";
        return result;
    }

    TranscriptLines lines;
    TranscriptView view{theme, lines};
    QAccessibleTextInterface* text = nullptr;
};

TEST_F(TranscriptAccessibleTest, the_whole_transcript_is_one_text_with_captions) {
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->characterCount(), 0);
    lines.setLines({line(1, "Me", "One two. Three?"), line(2, "Me", "four"), line(3, "Anke", "five")});
    const QString me = lines.groups()[0].caption();
    const QString anke = lines.groups()[1].caption();
    const QString all = me + QStringLiteral("\nOne two. Three?\nfour\n") + anke + QStringLiteral("\nfive");
    EXPECT_EQ(text->text(0, -1), all);
    EXPECT_EQ(text->characterCount(), all.size());
    for (int from = 0; from < int(all.size()); from += 3)
        for (int to = from; to <= int(all.size()); to += 5)
            ASSERT_EQ(text->text(from, to), all.mid(from, to - from)) << from << " " << to;

    const int two = int(all.indexOf(QStringLiteral("two")));
    EXPECT_EQ(unit(two + 1, QAccessible::WordBoundary), QStringLiteral("two"));
    EXPECT_EQ(unit(two + 1, QAccessible::CharBoundary), QStringLiteral("w"));
    EXPECT_EQ(unit(two, QAccessible::SentenceBoundary), QStringLiteral("One two. "));
    EXPECT_EQ(unit(two, QAccessible::LineBoundary), QStringLiteral("One two. Three?\n"));
    EXPECT_EQ(unit(2, QAccessible::LineBoundary), me + QLatin1Char('\n'));
    EXPECT_EQ(unit(int(all.size()), QAccessible::LineBoundary), QStringLiteral("five"));
    int from = 0;
    int to = 0;
    EXPECT_EQ(text->textAfterOffset(two, QAccessible::LineBoundary, &from, &to), QStringLiteral("four\n"));
    EXPECT_EQ(text->textBeforeOffset(two, QAccessible::LineBoundary, &from, &to), me + QLatin1Char('\n'));
    EXPECT_EQ(text->attributes(2, &from, &to), QStringLiteral("font-weight:bold;"));
    EXPECT_EQ(all.mid(from, to - from), me + QLatin1Char('\n'));
    EXPECT_EQ(text->attributes(two, &from, &to), QStringLiteral("font-weight:normal;"));
    for (const int outside : {-5, 500})
        EXPECT_TRUE(text->textAtOffset(outside, QAccessible::WordBoundary, &from, &to).isEmpty());
}

TEST_F(TranscriptAccessibleTest, caret_selection_and_places_agree_with_the_screen) {
    lines.setLines({line(1, "Me", "One two three"), line(2, "Anke", "four")});
    const int three = lines.at(0).start + 8;
    text->setCursorPosition(three + 2);
    EXPECT_EQ(text->cursorPosition(), three) << "the caret stands on words";
    text->addSelection(three, three + 5);
    EXPECT_EQ(view.selectedText(), QStringLiteral("three"));
    int from = 0;
    int to = 0;
    text->selection(0, &from, &to);
    EXPECT_EQ(std::pair(from, to), std::pair(three, three + 5));
    text->removeSelection(0);
    EXPECT_EQ(text->selectionCount(), 0);
    for (const int offset : {lines.at(0).start, three, lines.at(1).start + 1}) {
        const QRect place = text->characterRect(offset);
        EXPECT_GT(place.width(), 0);
        EXPECT_EQ(text->offsetAtPoint(place.center()), offset);
    }
    EXPECT_EQ(text->offsetAtPoint(view.mapToGlobal(QPoint(630, 290))), -1);
}

TEST_F(TranscriptAccessibleTest, a_change_names_what_is_new_and_what_is_gone) {
    std::vector said{line(1, "Me", "One"), line(2, "Me", "two")};
    lines.setLines(said);
    QStringList told;
    QObject::connect(&lines, &TranscriptLines::changed, [&](const TranscriptLines::Change& change) {
        told += lines.text(lines.endBefore(change.firstLine), lines.length());
        EXPECT_EQ(change.onlyAdds, change.firstLine == change.linesBefore);
    });
    said.push_back(line(3, "Me", "three"));
    lines.setLines(said);
    lines.setLines(said); // the same
    said.push_back(line(4, "Anke", "four"));
    lines.setLines(said);
    said[3].text = "for";
    lines.setLines(said);
    said.resize(2);
    lines.setLines(said);
    const QString anke = QStringLiteral("\nAnke %1\n")
                             .arg(QString::fromStdString(transcriptTime(said[0].date + std::chrono::seconds(3))));
    EXPECT_EQ(told, (QStringList{QStringLiteral("\nthree"), anke + QStringLiteral("four"), anke + QStringLiteral("for"),
                                 QString()}));
}

TEST_F(TranscriptAccessibleTest, questions_about_a_long_transcript_lay_out_next_to_nothing) {
    lines.setLines(dialogue(10'000, [](int) { return "A line as people say them, and then some more of it."; }));
    const ThreadTimer timer;
    int from = 0;
    int to = 0;
    constexpr int questions = 1000;
    for (int i = 0; i < questions; ++i) {
        const int offset = int(qint64(text->characterCount()) * i / questions);
        EXPECT_FALSE(text->textAtOffset(offset, QAccessible::WordBoundary, &from, &to).isEmpty());
        text->attributes(offset, &from, &to);
        EXPECT_EQ(text->text(offset, offset + 20).size(), 20);
    }
    text->characterRect(text->characterCount() / 2);
    EXPECT_LT(timer.milliseconds(), 500 * checkedBuildFactor) << "milliseconds for a thousand";
    EXPECT_LT(std::ranges::count_if(view.page().boxes(), &TranscriptLayout::Box::measured), 60);
}

} // namespace
} // namespace tavrin
