#include "ui/MainWindow.h"
#include "ui/ModelSetupSheet.h"
#include "ui/UiTestSupport.h"
#include "ui/components/LineField.h"
#include "ui/meeting/MeetingPage.h"
#include "ui/settings/SettingsPage.h"

#include <QAbstractButton>
#include <QAction>
#include <QLineEdit>

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

TEST_F(MainWindowTest, the_start_key_works_from_anywhere_and_a_sheet_silences_it) {
    int starts = 0;
    QObject::connect(&window.meetingPage(), &MeetingPage::startRequested, [&] { ++starts; });
    window.showSection(Section::notes);
    shortcut("Ctrl+R");
    EXPECT_EQ(window.section(), Section::meeting);
    EXPECT_EQ(starts, 1);
    window.modelSetup().open();
    shortcut("Ctrl+R");
    EXPECT_EQ(starts, 1);
}

TEST_F(MainWindowTest, focus_stays_in_an_open_sheet_and_esc_gives_it_back) {
    window.showSection(Section::settings);
    auto* token = window.settingsPage().findChild<QLineEdit*>();
    token->setFocus();
    settle();
    ASSERT_EQ(QApplication::focusWidget(), token);
    auto& sheet = window.modelSetup();
    sheet.setModels({}, true);
    sheet.open();
    settle();
    for (int i = 0; i < 7; ++i) {
        ASSERT_TRUE(QApplication::focusWidget() && sheet.isAncestorOf(QApplication::focusWidget()));
        press(*QApplication::focusWidget(), i < 4 ? Qt::Key_Tab : Qt::Key_Backtab);
    }
    int cancelled = 0;
    QObject::connect(&sheet, &Sheet::cancelled, [&] { ++cancelled; });
    press(*QApplication::focusWidget(), Qt::Key_Escape);
    EXPECT_EQ(cancelled, 1);
    EXPECT_FALSE(sheet.isOpen());
    EXPECT_EQ(QApplication::focusWidget(), token);
}

TEST_F(MainWindowTest, closing_hides_and_says_so) {
    int hidden = 0;
    QObject::connect(&window, &MainWindow::hiddenByUser, [&] { ++hidden; });
    window.close();
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(hidden, 1);
    window.raiseToFront();
    EXPECT_TRUE(window.isVisible());
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

TEST_F(MainWindowTest, tab_stops_in_the_bar_at_the_section_that_is_shown_and_at_its_end) {
    shortcut("Ctrl+3");
    settle();
    const auto stops = tabStops(window);
    QStringList names;
    for (const QWidget* stop : stops)
        if (const auto* button = qobject_cast<const QAbstractButton*>(stop)) names += button->text();
    EXPECT_EQ(names.join(QStringLiteral(", ")).toStdString(), "Meeting, Not signed in, Start Recording");
}

TEST_F(MainWindowTest, tab_walks_the_settings_from_top_to_bottom) {
    SettingsState state;
    state.tokenSaved = true;
    state.languages = {{"auto", "Detect automatically"}, {"en", "English"}};
    state.language = "auto";
    state.spellings = {{"british", "British"}, {"american", "American"}};
    state.spelling = "british";
    auto& page = window.settingsPage();
    page.show(state);
    window.showSection(Section::settings);
    settle();
    QStringList names;
    page.findChild<QLineEdit*>()->setFocus(Qt::TabFocusReason);
    for (int i = 0; i < 5; ++i) {
        QWidget* now = QApplication::focusWidget();
        ASSERT_NE(now, nullptr);
        const auto* button = qobject_cast<QAbstractButton*>(now);
        names += button ? button->text() : now->accessibleName();
        press(*now, Qt::Key_Tab);
    }
    EXPECT_EQ(names.join(QStringLiteral(", ")),
              QStringLiteral("API token, Remove, Look again, Speech language, British"));
}

TEST_F(MainWindowTest, a_live_change_of_the_theme_reaches_everything) {
    const auto fill = [](MainWindow& target) {
        SettingsState state;
        state.models = {{"Meeting model", "Writes", "/somewhere", "Ready", SettingsState::Model::Condition::ready}};
        state.privacy = {{"Transcripts", "here"}};
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

TEST_F(MainWindowTest, a_token_is_hidden_trimmed_and_saved_by_enter) {
    QStringList saved;
    auto& page = window.settingsPage();
    QObject::connect(&page, &SettingsPage::tokenSaveRequested, [&](const QString& token) { saved += token; });
    window.showSection(Section::settings);
    page.show(SettingsState{});
    auto* token = page.findChild<QLineEdit*>();
    EXPECT_EQ(token->echoMode(), QLineEdit::Password);
    press(*token, Qt::Key_Return);
    EXPECT_TRUE(saved.isEmpty()) << "nothing was written";
    token->setText(QStringLiteral("  abc "));
    press(*token, Qt::Key_Return);
    EXPECT_EQ(saved, QStringList{QStringLiteral("abc")});
}

} // namespace

} // namespace tavrin
