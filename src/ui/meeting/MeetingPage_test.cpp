#include "ui/UiTestSupport.h"
#include "ui/components/Button.h"
#include "ui/components/LevelMeter.h"
#include "ui/components/NoticeLine.h"
#include "ui/meeting/ElapsedClock.h"
#include "ui/meeting/MeetingFoot.h"
#include "ui/meeting/MeetingHead.h"
#include "ui/meeting/MeetingPage.h"
#include "ui/meeting/TitleField.h"

#include <QElapsedTimer>
#include <QFileDialog>
#include <QMenu>
#include <QTemporaryDir>
#include <QTimer>
#include <functional>

namespace tavrin {
namespace {

class MeetingPageTest : public UiTest {
protected:
    MeetingPageTest() {
        page.resize(900, 700);
        page.show();
    }

    void show(MeetingPhase phase) {
        MeetingState state;
        state.phase = phase;
        state.statusText = "Status";
        state.title = "Review";
        state.errorText = "Tavrin API token not set. Open Settings (⌘,) to add your token.";
        if (phase == MeetingPhase::recording) state.notice = "Quiet.";
        page.show(state);
        settle();
    }

    QStringList stopNames() {
        QStringList names;
        for (QWidget* stop : tabStops(page)) {
            auto* button = qobject_cast<QAbstractButton*>(stop);
            names += button && !button->text().isEmpty() ? button->text() : stop->accessibleName();
        }
        return names;
    }

    static bool waitFor(const std::function<bool()>& condition) {
        QElapsedTimer timer;
        timer.start();
        while (!condition() && timer.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
        return condition();
    }

    static QString shownNotice(const QWidget& root) {
        for (const auto* notice : root.findChildren<NoticeLine*>())
            if (notice->isVisible()) return notice->text();
        return {};
    }

    MeetingPage page{theme};
};

TEST_F(MeetingPageTest, tab_reaches_what_each_phase_offers_in_reading_order) {
    page.setLines({line(1, "Me", "Words.")});
    const auto stops = [](std::initializer_list<const char*> names) {
        QStringList result{QStringLiteral("Title of the meeting")};
        for (const char* name : names)
            result += QString::fromLatin1(name);
        return result + QStringList{QStringLiteral("Find in the transcript"),
                                    QStringLiteral("Show the transcript in its own window"),
                                    QStringLiteral("Transcript")};
    };
    const std::vector<std::pair<MeetingPhase, QStringList>> expected{
        {MeetingPhase::idle, stops({"Export", "New"})},
        {MeetingPhase::loading, stops({"Pause", "Stop"})},
        {MeetingPhase::recording, stops({"Pause", "Stop", "Dismiss"})},
        {MeetingPhase::paused, stops({"Resume", "Stop"})},
        {MeetingPhase::processing, stops({"Stop"})},
        {MeetingPhase::error, stops({"Export", "Start Recording"})},
    };
    for (const auto& [phase, names] : expected) {
        show(phase);
        EXPECT_EQ(stopNames(), names) << int(phase);
    }
    EXPECT_TRUE(shownNotice(page).contains(QStringLiteral("(Ctrl+,)"))) << "in this desktop's words";
}

TEST_F(MeetingPageTest, a_meeting_that_has_ended_is_exported_and_followed_by_a_new_one) {
    page.setLines({line(1, "Me", "Words.")});
    show(MeetingPhase::idle);
    int news = 0;
    QObject::connect(&page, &MeetingPage::newRequested, [&] { ++news; });
    page.head().startOrStop();
    EXPECT_EQ(news, 1);
    page.openExportMenu(page.mapToGlobal(QPoint(10, 10)));
    auto* menu = page.findChild<QMenu*>();
    ASSERT_TRUE(menu);
    QStringList formats;
    for (const QAction* action : menu->actions())
        formats += action->text();
    EXPECT_EQ(formats.join(QStringLiteral(", ")), QStringLiteral("Text, Markdown, Subtitles (SRT)"));
    menu->actions()[1]->trigger();
    auto* dialog = page.findChild<QFileDialog*>();
    ASSERT_TRUE(dialog);
    EXPECT_EQ(QFileInfo(dialog->selectedFiles().value(0)).fileName(), QStringLiteral("2026-03-12 Review.md"));
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("x.md"));
    emit dialog->fileSelected(path);
    const auto notice = [&] { return shownNotice(page); };
    ASSERT_TRUE(waitFor([&] { return !notice().isEmpty(); }));
    EXPECT_TRUE(notice().contains(path)) << qPrintable(notice());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().startsWith("# Review\n"));
    EXPECT_EQ(file.permissions() & (QFileDevice::ReadGroup | QFileDevice::ReadOther), QFileDevice::Permissions());

    emit dialog->fileSelected(folder.filePath(QStringLiteral("missing/y.md")));
    ASSERT_TRUE(waitFor([&] { return notice().contains(QStringLiteral("could not be written")); }));
    EXPECT_TRUE(notice().contains(QStringLiteral("missing/y.md")) && notice().contains(QStringLiteral("No such file")));
}

TEST_F(MeetingPageTest, a_title_is_told_once_and_not_overwritten_while_it_is_written) {
    show(MeetingPhase::recording);
    QStringList titles;
    QObject::connect(&page, &MeetingPage::titleEdited, [&](const QString& title) { titles += title; });
    auto* title = page.findChild<TitleField*>();
    QApplication::setActiveWindow(&page);
    title->setFocus();
    settle();
    ASSERT_TRUE(title->hasFocus());
    title->selectAll();
    QKeyEvent typed(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, QStringLiteral("x"));
    QCoreApplication::sendEvent(title, &typed);
    show(MeetingPhase::recording); // a level, a line or a second may come at any time
    EXPECT_EQ(title->text(), QStringLiteral("x"));
    press(*title, Qt::Key_Return);
    settle();
    EXPECT_EQ(titles, QStringList{QStringLiteral("x")});
}

TEST_F(MeetingPageTest, nothing_wakes_up_while_nothing_is_recorded) {
    show(MeetingPhase::recording);
    page.setLevels(0.8F, 0.1F);
    EXPECT_TRUE(page.findChild<ElapsedClock*>()->isCounting());
    for (const auto phase : {MeetingPhase::paused, MeetingPhase::idle, MeetingPhase::error}) {
        show(phase);
        EXPECT_FALSE(page.findChild<ElapsedClock*>()->isCounting());
        for (const auto* meter : page.findChildren<LevelMeter*>())
            EXPECT_FALSE(meter->isMoving());
        for (const auto* timer : page.findChildren<QTimer*>())
            EXPECT_FALSE(timer->isActive());
    }
}

TEST(ElapsedText, counts_minutes_then_hours) {
    const std::pair<double, const char*> cases[] = {{0, "0:00"},        {-5, "0:00"},          {59.99, "0:59"},
                                                    {1457, "24:17"},    {3600, "1:00:00"},     {5057.9, "1:24:17"},
                                                    {1e12, "99:59:59"}, {std::nan(""), "0:00"}};
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(elapsedText(seconds), QString::fromLatin1(text));
}

TEST(BacklogText, names_whole_minutes_and_at_least_one) {
    EXPECT_TRUE(backlogText(0).first.isEmpty() && backlogText(std::nan("")).first.isEmpty());
    for (const auto& [seconds, minutes] : {std::pair{0.5, 1}, std::pair{119.9, 1}, std::pair{120.0, 2}})
        EXPECT_EQ(backlogText(seconds).first, QStringLiteral("Transcription is about %1 min behind.").arg(minutes));
    EXPECT_TRUE(backlogText(1).second.startsWith(QStringLiteral("Keep the app open")));
}

} // namespace
} // namespace tavrin
