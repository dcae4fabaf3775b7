#include "platform/fake/FakePreferences.h"
#include "support/async/VirtualTime.h"
#include "ui/UiTestSupport.h"
#include "ui/meeting/TranscriptPresenter.h"

#include <gtest/gtest.h>

#include <QApplication>

namespace tavrin {
namespace {

class TranscriptPresenterTest : public testing::Test {
protected:
    struct Screen {
        explicit Screen(TranscriptPresenterTest& test)
            : pane(test.theme, lines), window(test.theme, lines),
              presenter({.vocabulary = test.vocabulary, .preferences = test.preferences}, pane, window) {}

        TranscriptLines lines;
        TranscriptPane pane;
        TranscriptWindow window;
        TranscriptPresenter presenter;
    };

    FakePreferences preferences;
    VirtualTime time;
    Theme theme{*qApp};
    VocabularyList vocabulary{preferences, {}, time.main()};
    std::unique_ptr<Screen> screen = std::make_unique<Screen>(*this);
};

TEST_F(TranscriptPresenterTest, corrections_made_in_the_transcript_are_the_users_list) {
    emit screen->pane.correctionSaved("Holden, Halten ", "Halden");
    ASSERT_EQ(vocabulary.loadVocabularyCorrections().size(), 1U);
    EXPECT_EQ(vocabulary.corrector()->corrected("halten called"), "Halden called");

    for (const char* phrase : {"halden", "HOLDEN", "Halten"}) {
        const auto known = screen->pane.known(phrase);
        ASSERT_TRUE(known) << phrase;
        EXPECT_EQ(known->heardText, "Holden, Halten");
        EXPECT_EQ(known->correctText, "Halden");
    }
    EXPECT_FALSE(screen->pane.known("Hold"));

    const QString id = screen->pane.known("Halden")->id;
    emit screen->pane.correctionChanged(id, "Holden", "Holdena");
    EXPECT_EQ(vocabulary.corrector()->corrected("holden, halten"), "Holdena, halten");
    emit screen->pane.correctionDeleted(id);
    EXPECT_FALSE(screen->pane.known("Holden"));
    emit screen->pane.correctionChanged(id, "Holden", "Halden");
    EXPECT_TRUE(screen->pane.known("Holden")) << "it went while its form was open";
}

TEST_F(TranscriptPresenterTest, size_of_type_and_place_of_the_window_come_back) {
    screen->window.show();
    screen->window.setGeometry(40, 60, 620, 480);
    QApplication::processEvents();
    emit screen->pane.zoomChanged(1.5);
    screen.reset();
    screen = std::make_unique<Screen>(*this);
    EXPECT_EQ(screen->pane.zoom(), 1.5);
    EXPECT_EQ(screen->window.size(), QSize(620, 480));
}

} // namespace
} // namespace tavrin
