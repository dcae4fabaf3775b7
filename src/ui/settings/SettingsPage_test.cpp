#include "ui/settings/Licences.h"
#include "ui/settings/SettingsTestSupport.h"

#include <QAction>

namespace tavrin {
namespace {

SettingsState sample() {
    SettingsState state;
    state.tokenSaved = true;
    state.serverAddress = state.defaultServerAddress = "https://app.tavrin.example";
    state.startsWithComputer = false;
    state.models = {{"Speech model (base)", "Meetings", "/somewhere", "Installed",
                     SettingsState::Model::Condition::ready, "145 MB"}};
    state.languages = {{"auto", "Detect automatically"}, {"de", "German"}};
    state.language = "auto";
    state.spellings = {{"british", "British"}, {"american", "American"}};
    state.spelling = "british";
    state.hotkeys = {{"rightOption", "Right Alt"}, {"capsLock", "Caps Lock"}};
    state.hotkey = "rightOption";
    state.corrections = {{"1", "Holden, Holden Foods", "Halden Foods"}, {"2", "North line", "Northline"}};
    state.kept = {{"Meeting audio", "until you delete it", "3 files, 2 MB", "/recordings", true},
                  {"Diagnostics", "until you delete them", "None", "/diagnostics", false}};
    state.leftAudio = {.amount = "2 files, 812 MB", .deleteEnabled = true};
    state.version = "1.2.3";
    return state;
}

TEST_F(SettingsTest, tab_walks_the_page_from_top_to_bottom) {
    page.show(sample());
    settle();
    field("Search settings").setFocus(Qt::TabFocusReason);
    QStringList names;
    do {
        names += focused();
        pressAtFocus(Qt::Key_Tab);
    } while (names.last() != QLatin1String("Licences") && names.size() < 40);
    EXPECT_EQ(names.join(QLatin1Char('|')).toStdString(),
              "Search settings|Account|API token|Remove|Server|Start with the computer|Look again|"
              "Open folder|Delete…|Meeting reminders|Speaker labels|British|Speech language|"
              "Dictation key|Paste into the focused field|Clean up speech|Save history to Tavrin|"
              "Edit the correction to Halden Foods|Delete the correction to Halden Foods|"
              "Edit the correction to Northline|Delete the correction to Northline|Add correction…|Licences");
}

TEST_F(SettingsTest, search_leaves_rows_that_say_all_its_words) {
    page.show(sample());
    QLineEdit& search = field("Search settings");
    const auto seen = [&](const QString& text) {
        type(search, text);
        settle();
        QStringList found;
        for (const char* words : {"API token", "Speech model (base)", "Meeting audio", "Speech language", "Key",
                                  "Halden Foods", "Northline"})
            if (isShown(words)) found += QString::fromUtf8(words);
        return found.join(QLatin1Char(',')).toStdString();
    };
    const std::pair<const char*, const char*> cases[] = {{"speech", "Speech model (base),Speech language"},
                                                         {"  SPEECH   model ", "Speech model (base)"},
                                                         {"german", "Speech language"}, // one of its choices
                                                         {"caps", "Key"},
                                                         {"halden", "Halden Foods"},
                                                         {"vocabulary", "Halden Foods,Northline"}, // a whole section
                                                         {"folder", "Meeting audio"}};
    for (const auto& [text, rows] : cases)
        EXPECT_EQ(seen(QString::fromUtf8(text)), rows) << text;

    EXPECT_EQ(seen(QStringLiteral("carburettor")), "");
    EXPECT_TRUE(isShown("Nothing found"));
    click(button("Show all settings"));
    EXPECT_TRUE(isShown("API token") && isShown("Northline") && !isShown("Nothing found"));
    EXPECT_FALSE(isShown("No corrections yet"));

    // What comes while a search stands is searched as well.
    seen(QStringLiteral("halden"));
    SettingsState more = sample();
    more.corrections.push_back({"3", "lindquist", "Lindqvist"});
    page.show(more);
    settle();
    EXPECT_FALSE(isShown("Lindqvist"));
    press(search, Qt::Key_Escape);
    EXPECT_TRUE(search.text().isEmpty());
    settle();
    EXPECT_TRUE(isShown("Lindqvist"));
}

TEST_F(SettingsTest, what_was_typed_of_a_correction_is_not_lost) {
    page.show(sample());
    settle();
    QStringList saved;
    QObject::connect(&page, &SettingsPage::correctionSaveRequested,
                     [&](const QString& id, const QString& heard, const QString& correct) {
                         saved += id + QLatin1Char(' ') + heard + QLatin1Char('>') + correct;
                     });
    click(button("Edit the correction to Northline"));
    type(field("What it should be"), QStringLiteral("Northline Ltd"));
    const QString heard = field("What was heard").text();
    for (const char* other : {"Add correction…", "Edit the correction to Halden Foods"}) {
        click(button(other));
        EXPECT_EQ(field("What it should be").text(), QStringLiteral("Northline Ltd")) << other;
    }
    SettingsState gone = sample();
    gone.corrections.pop_back();
    page.show(gone);
    click(button("Save"));
    EXPECT_EQ(saved, QStringList(QLatin1Char(' ') + heard + QStringLiteral(">Northline Ltd"))) << "a new one";
}

TEST_F(SettingsTest, a_tab_ends_a_search_and_brings_its_section_to_the_top) {
    page.show(sample());
    type(field("Search settings"), QStringLiteral("token"));
    settle();
    click(button("Privacy"));
    EXPECT_TRUE(field("Search settings").text().isEmpty());
    const QWidget* audio = nullptr;
    for (const auto* label : page.findChildren<QLabel*>())
        if (label->text() == QLatin1String("Privacy")) audio = label;
    ASSERT_NE(audio, nullptr);
    EXPECT_NEAR(audio->mapTo(&page, QPoint(0, 0)).y(), 106, 12);
    EXPECT_TRUE(button("Privacy").isChecked());
}

TEST_F(SettingsTest, tabs_are_not_cut_at_twice_the_type) {
    page.show(sample());
    theme.setFontScale(2);
    window.resize(900, 620);
    settle();
    for (const char* name : {"Account", "Models", "Privacy", "Meetings", "Dictation", "Vocabulary", "About"}) {
        const auto& tab = button(name);
        EXPECT_GE(tab.width(), tab.sizeHint().width()) << name;
    }
}

TEST_F(SettingsTest, a_sheet_that_keeps_the_focus_asks_before_audio_is_deleted) {
    page.show(sample());
    int asked = 0;
    QObject::connect(&page, &SettingsPage::leftAudioDeleteRequested, [&] { ++asked; });
    auto& remove = button("Delete audio left over from old meetings");
    remove.setFocus(Qt::TabFocusReason);
    pressAtFocus(Qt::Key_Return);
    ASSERT_NE(openSheet(), nullptr);
    EXPECT_TRUE(isShown("2 files, 812 MB of meetings")) << "it says how much";
    EXPECT_EQ(focused(), QStringLiteral("Cancel"));
    for (int i = 0; i < 6; ++i) {
        pressAtFocus(i < 3 ? Qt::Key_Tab : Qt::Key_Backtab);
        ASSERT_TRUE(openSheet()->isAncestorOf(QApplication::focusWidget()));
    }
    for (QWidget* owner : {static_cast<QWidget*>(&window), static_cast<QWidget*>(&page)})
        for (QAction* key : owner->actions())
            if (key->shortcut() != QKeySequence(QStringLiteral("Ctrl+Q"))) key->trigger();
    EXPECT_EQ(window.section(), Section::settings) << "what is covered answers to no key";
    EXPECT_EQ(focused(), QStringLiteral("Cancel"));
    pressAtFocus(Qt::Key_Escape);
    EXPECT_EQ(openSheet(), nullptr);
    EXPECT_EQ(QApplication::focusWidget(), &remove);
    click(remove);
    pressAtFocus(Qt::Key_Return);
    EXPECT_EQ(openSheet(), nullptr);
    EXPECT_EQ(asked, 0);
    click(remove);
    click(button("Delete audio"));
    EXPECT_EQ(openSheet(), nullptr);
    EXPECT_EQ(asked, 1);

    SettingsState none = sample();
    none.leftAudio = {.amount = "None"};
    page.show(none);
    click(remove);
    EXPECT_EQ(openSheet(), nullptr);
}

TEST_F(SettingsTest, the_licences_are_shown_but_for_damaged_lines) {
    EXPECT_EQ(licencesIn("a\tb\tc\nno tabs\n\t\t\nd\te\n").size(), 1);

    page.show(sample());
    click(button("Licences"));
    ASSERT_NE(openSheet(), nullptr);
    EXPECT_TRUE(isShown("KISS FFT") && isShown("BSD-3-Clause"));
    pressAtFocus(Qt::Key_Escape);
    EXPECT_EQ(openSheet(), nullptr);
}

} // namespace
} // namespace tavrin
