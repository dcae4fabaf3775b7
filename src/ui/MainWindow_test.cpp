#include "support/time/ThreadTimerTestSupport.h"
#include "ui/MainWindow.h"
#include "ui/ModelSetupSheet.h"
#include "ui/UiTestSupport.h"
#include "ui/components/NoticeLine.h"
#include "ui/home/HomePage.h"
#include "ui/meeting/MeetingPage.h"
#include "ui/meeting/TranscriptView.h"
#include "ui/meeting/TranscriptWindow.h"
#include "ui/settings/SettingsPage.h"

#include <QAbstractButton>
#include <QAction>
#include <algorithm>
#include <vector>

namespace tavrin {
namespace {

class MainWindowTest : public UiTest {
protected:
    MainWindowTest() {
        window.show();
        QApplication::setActiveWindow(&window);
        settle();
    }

    void shortcut(const char* keys) {
        int found = 0;
        for (QAction* action : window.actions()) {
            if (action->shortcut() != QKeySequence(QString::fromLatin1(keys))) continue;
            action->trigger();
            ++found;
        }
        EXPECT_EQ(found, 1) << keys;
    }

    MainWindow window{theme};
};

TEST_F(MainWindowTest, every_section_has_its_key_and_every_control_a_name) {
    for (int i = 0; i < sectionCount; ++i) {
        shortcut(qPrintable(QStringLiteral("Ctrl+%1").arg(i + 1)));
        EXPECT_EQ(int(window.section()), i);
        settle();
        for (const QWidget* stop : tabStops(window)) {
            const auto* button = qobject_cast<const QAbstractButton*>(stop);
            EXPECT_FALSE(stop->accessibleName().isEmpty() && !(button && !button->text().isEmpty()))
                << stop->metaObject()->className() << " in section " << i;
        }
    }
    shortcut("Ctrl+1");
    shortcut("Ctrl+,");
    EXPECT_EQ(window.section(), Section::settings);
}

TEST_F(MainWindowTest, the_start_key_works_from_anywhere_unless_a_sheet_or_the_session_forbids) {
    int starts = 0;
    QObject::connect(&window.meetingPage(), &MeetingPage::startRequested, [&] { ++starts; });
    window.showSection(Section::notes);
    shortcut("Ctrl+R");
    EXPECT_EQ(window.section(), Section::meeting);
    EXPECT_EQ(starts, 1);
    window.meetingPage().show({.startEnabled = false});
    shortcut("Ctrl+R");
    window.meetingPage().show(MeetingState{});
    window.modelSetup().open();
    shortcut("Ctrl+R");
    EXPECT_EQ(starts, 1);
}

TEST_F(MainWindowTest, home_starts_a_meeting_and_goes_to_the_open_one_which_it_never_ends) {
    int starts = 0;
    int stops = 0;
    QObject::connect(&window.meetingPage(), &MeetingPage::startRequested, [&] { ++starts; });
    QObject::connect(&window.meetingPage(), &MeetingPage::stopRequested, [&] { ++stops; });
    const auto pressAtHome = [&] {
        window.showSection(Section::home);
        window.findChild<HomePage*>()->findChild<QAbstractButton*>()->click();
        return window.section();
    };
    EXPECT_EQ(pressAtHome(), Section::meeting);
    EXPECT_EQ(starts, 1);
    for (const MeetingPhase phase : {MeetingPhase::loading, MeetingPhase::recording, MeetingPhase::paused}) {
        window.meetingPage().show({.phase = phase, .startEnabled = false});
        EXPECT_EQ(pressAtHome(), Section::meeting);
    }
    window.meetingPage().show({.startEnabled = false}); // a meeting is being closed
    EXPECT_EQ(pressAtHome(), Section::home);
    EXPECT_EQ(std::pair(starts, stops), std::pair(1, 0));
}

TEST_F(MainWindowTest, the_transcript_in_its_own_window_shows_the_same_and_ends_nothing) {
    window.showSection(Section::meeting);
    MeetingPage& page = window.meetingPage();
    MeetingState meeting;
    meeting.phase = MeetingPhase::recording;
    meeting.title = "Review";
    meeting.backlogSeconds = 130;
    page.show(meeting);
    page.setLines({line(1, "Me", "Words.")});
    TranscriptWindow& apart = window.transcriptWindow();
    shortcut("Ctrl+Shift+T");
    EXPECT_TRUE(apart.isVisible());
    EXPECT_EQ(apart.windowTitle(), QStringLiteral("Review – Transcript"));
    EXPECT_EQ(&apart.pane().view().transcript(), &page.lines());
    EXPECT_TRUE(
        apart.findChild<NoticeLine*>()->text().startsWith(QStringLiteral("Transcription is about 2 min behind")));
    double stored = 0;
    QObject::connect(&page.transcript(), &TranscriptPane::zoomChanged, [&](double factor) { stored = factor; });
    apart.pane().zoomBy(1);
    EXPECT_EQ(page.transcript().zoom(), 1.1);
    EXPECT_EQ(stored, 1.1);
    page.transcript().zoomBy(0);
    EXPECT_EQ(apart.pane().zoom(), 1);
    int stops = 0;
    int places = 0;
    QObject::connect(&page, &MeetingPage::stopRequested, [&] { ++stops; });
    QObject::connect(&apart, &TranscriptWindow::placeChanged, [&] { ++places; });
    apart.resize(444, 333);
    const QByteArray place = apart.place();
    apart.close();
    EXPECT_EQ(std::pair(stops, places), std::pair(0, 1));
    apart.resize(500, 500);
    apart.restorePlace("nonsense");
    apart.restorePlace(place);
    EXPECT_EQ(apart.size(), QSize(444, 333));
}

TEST_F(MainWindowTest, a_line_for_both_views_of_ten_thousand_costs_no_frame) {
    window.showSection(Section::meeting);
    MeetingPage& page = window.meetingPage();
    auto said = dialogue(10'000, [](int) { return "A line as people say them, and then some more of it."; });
    page.setLines(said);
    window.openTranscript();
    settle();
    constexpr std::size_t added = 51;
    std::vector<double> took;
    for (SegmentId i = 0; i < added; ++i) {
        said.push_back(line(20'000 + i, i % 2 ? "Me" : "Them", "Another line that came just now."));
        const ThreadTimer timer;
        page.setLines(said);
        took.push_back(timer.milliseconds());
        settle();
    }
    std::ranges::nth_element(took, took.begin() + added / 2);
    const double typical = took[added / 2];
    RecordProperty("microseconds_a_line", int(typical * 1000));
    EXPECT_LT(typical, 2 * checkedBuildFactor) << "milliseconds a line";
}

TEST_F(MainWindowTest, nothing_is_wider_than_the_least_window_at_any_type_size) {
    for (const double scale : {1.0, 1.5, 2.0}) {
        theme.setFontScale(scale);
        window.resize(900, 620);
        for (int i = 0; i < sectionCount; ++i) {
            window.showSection(static_cast<Section>(i));
            settle();
            for (const QWidget* stop : tabStops(window)) {
                const QRect place(stop->mapTo(&window, QPoint(0, 0)), stop->size());
                EXPECT_TRUE(place.left() >= 0 && place.right() < window.width())
                    << qPrintable(stop->accessibleName()) << " at scale " << scale << " in section " << i;
            }
        }
    }
}

TEST_F(MainWindowTest, a_live_change_of_the_theme_reaches_everything) {
    const auto fill = [](MainWindow& target) {
        SettingsState state;
        state.models = {
            {"Meeting model", "Writes", "/somewhere", "Ready", SettingsState::Model::Condition::ready, "145 MB"}};
        state.kept = {{"Transcripts", "here", "2 files, 1 kB", "/somewhere", true}};
        state.corrections = {{"1", "Holden", "Halden"}};
        state.tokenState = "Saved.";
        target.settingsPage().show(state);
        MeetingState meeting;
        meeting.phase = MeetingPhase::paused;
        meeting.title = "Review";
        meeting.notice = "Quiet.";
        meeting.backlogSeconds = 200;
        target.meetingPage().show(meeting);
        target.meetingPage().setLines({line(1, "Me", "Words."), line(2, "Them", "More words.")});
        target.setFocus(); // no blinking cursor in the pictures
    };
    const auto picture = [](MainWindow& target, Section section) {
        target.showSection(section);
        settle();
        return target.grab().toImage();
    };
    fill(window);
    for (const auto section : {Section::meeting, Section::settings, Section::home})
        picture(window, section);
    theme.setScheme(Theme::Scheme::dark);
    theme.setFontScale(1.5);
    MainWindow fresh(theme);
    fresh.show();
    fill(fresh);
    for (const auto section : {Section::meeting, Section::settings, Section::home})
        EXPECT_EQ(picture(window, section), picture(fresh, section)) << int(section);
}

} // namespace
} // namespace tavrin
