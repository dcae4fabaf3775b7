#include "ui/UiTestSupport.h"
#include "ui/components/Button.h"
#include "ui/components/FindBar.h"
#include "ui/components/Popover.h"
#include "ui/meeting/TranscriptPane.h"
#include "ui/meeting/TranscriptSearch.h"
#include "ui/meeting/TranscriptView.h"
#include "ui/meeting/VocabularyCorrectionEditor.h"

#include <QLineEdit>
#include <QScrollBar>
#include <QVBoxLayout>
#include <cmath>

namespace tavrin {
namespace {

class TranscriptPaneTest : public UiTest {
protected:
    TranscriptPaneTest() {
        auto* column = new QVBoxLayout(&window);
        column->setContentsMargins(0, 0, 0, 0);
        column->addWidget(&pane);
        window.resize(720, 500);
        window.show();
        window.activateWindow();
        QApplication::setActiveWindow(&window);
        settle();
    }

    void fill(int count) {
        lines.setLines(dialogue(count, [](int i) { return "Word " + std::to_string(i) + " Holden"; }));
        settle();
    }

    void type(const QString& text) {
        for (const QChar each : text) {
            QKeyEvent event(QEvent::KeyPress, 0, Qt::NoModifier, QString(each));
            QCoreApplication::sendEvent(QApplication::focusWidget(), &event);
        }
    }
    static void key(int code, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        press(*QApplication::focusWidget(), code, modifiers);
    }

    /// Opens the editor for a word of a line, where the line stands now.
    void choose(int shown) {
        const int at = int(lines.at(shown).text.indexOf(QStringLiteral("Holden")));
        view().moveTo(TextRange{{shown, at}, {shown, at + 6}});
        view().setFocus();
        key(Qt::Key_Return);
        settle();
    }

    TranscriptView& view() { return pane.view(); }
    Button* button(const QString& name) {
        for (auto* each : pane.editor().findChildren<Button*>())
            if (each->text() == name) return each;
        return nullptr;
    }
    QString count() { return pane.findBar().findChild<QLineEdit*>()->accessibleDescription(); }

    QWidget window;
    TranscriptLines lines;
    TranscriptPane pane{theme, lines};
};

TEST_F(TranscriptPaneTest, the_editor_stands_beside_its_word_and_always_inside_the_window) {
    fill(60);
    view().verticalScrollBar()->setValue(0);
    for (const QSize size : {QSize(720, 500), QSize(360, 420)}) {
        window.resize(size);
        settle();
        for (const int shown : {0, 5, 7, 30, 59}) {
            choose(shown);
            ASSERT_TRUE(pane.popover() && pane.popover()->isOpen());
            const QRect panel = pane.popover()->panel();
            const QRect word(view().viewport()->mapTo(&window, view().linkedPlace().topLeft()),
                             view().linkedPlace().size());
            EXPECT_TRUE(window.rect().adjusted(8, 8, -8, -8).contains(panel)) << shown;
            const bool fits = size.height() - word.bottom() > panel.height() + 16 || word.top() > panel.height() + 16;
            if (fits) {
                EXPECT_EQ(panel.left(), qMin(word.left(), size.width() - 8 - panel.width())) << shown;
                const bool below = panel.top() == word.bottom() + 9;
                EXPECT_TRUE(below || panel.bottom() == word.top() - 9) << shown;
            }
            key(Qt::Key_Escape);
            EXPECT_FALSE(pane.popover()->isOpen());
            EXPECT_TRUE(view().hasFocus());
        }
    }
}

TEST_F(TranscriptPaneTest, a_correction_is_saved_by_enter_once_both_fields_are_filled) {
    fill(3);
    QStringList saved;
    QObject::connect(&pane, &TranscriptPane::correctionSaved, [&](const QString& heard, const QString& correct) {
        saved += heard + QLatin1Char('>') + correct;
    });
    choose(1);
    EXPECT_EQ(pane.editor().heardText(), QStringLiteral("Holden"));
    EXPECT_FALSE(button(QStringLiteral("Save"))->isEnabled());
    EXPECT_FALSE(button(QStringLiteral("Delete"))->isVisible());
    key(Qt::Key_Return);
    EXPECT_TRUE(pane.popover()->isOpen()) << "nothing to save yet";
    type(QStringLiteral(" Halden Foods "));
    mouseEvent(*view().viewport(), QEvent::MouseButtonPress, QPoint(600, 400));
    EXPECT_TRUE(pane.popover()->isOpen()) << "what was typed is not lost by a click";
    const QRect place = view().linkedPlace();
    choose(2);
    EXPECT_EQ(view().linkedPlace(), place) << "the form is still about the first word";
    EXPECT_EQ(pane.editor().correctText(), QStringLiteral("Halden Foods"));
    key(Qt::Key_Return);
    EXPECT_FALSE(pane.popover()->isOpen());
    EXPECT_EQ(saved, QStringList{QStringLiteral("Holden>Halden Foods")});

    choose(1);
    pane.editor().findChild<QLineEdit*>()->setText(QStringLiteral(" , ,"));
    type(QStringLiteral("x"));
    EXPECT_FALSE(button(QStringLiteral("Save"))->isEnabled()) << "commas name nothing";
    key(Qt::Key_Escape);
    choose(1);
    mouseEvent(*view().viewport(), QEvent::MouseButtonPress, QPoint(600, 400));
    EXPECT_FALSE(pane.popover()->isOpen()) << "nothing was typed";
    EXPECT_EQ(saved.size(), 1);
}

TEST_F(TranscriptPaneTest, a_correction_that_exists_is_changed_or_deleted) {
    fill(3);
    pane.setCorrectionLookup([](const QString& phrase) -> std::optional<KnownCorrection> {
        if (phrase != QStringLiteral("Holden")) return std::nullopt;
        return KnownCorrection{QStringLiteral("7"), QStringLiteral("Holden, Holden Foods"), QStringLiteral("Halden")};
    });
    QStringList told;
    QObject::connect(&pane, &TranscriptPane::correctionSaved, [&] { told += QStringLiteral("saved"); });
    QObject::connect(&pane, &TranscriptPane::correctionChanged,
                     [&](const QString& id, const QString& heard, const QString& correct) {
                         told += id + QLatin1Char(' ') + heard + QLatin1Char('>') + correct;
                     });
    QObject::connect(&pane, &TranscriptPane::correctionDeleted, [&](const QString& id) { told += id; });
    choose(0);
    EXPECT_EQ(pane.editor().correctText(), QStringLiteral("Halden"));
    QStringList reached;
    for (int i = 0; i < 6; ++i) {
        auto* pressed = qobject_cast<Button*>(QApplication::focusWidget());
        reached += pressed ? pressed->text() : QApplication::focusWidget()->accessibleName();
        key(Qt::Key_Tab);
    }
    EXPECT_EQ(reached.join(QStringLiteral(", ")),
              QStringLiteral("What was heard, What it should be, Save, Cancel, Delete, What was heard"));
    pane.editor().startWriting();
    type(QStringLiteral(", Olden"));
    key(Qt::Key_Return);
    choose(0);
    button(QStringLiteral("Delete"))->click();
    EXPECT_FALSE(pane.popover()->isOpen());
    EXPECT_EQ(told, (QStringList{QStringLiteral("7 Holden, Holden Foods, Olden>Halden"), QStringLiteral("7")}));
}

TEST_F(TranscriptPaneTest, search_counts_steps_around_and_shows_what_it_found) {
    fill(200);
    view().verticalScrollBar()->setValue(0);
    view().setFocus();
    pane.openFind();
    type(QStringLiteral("word 1"));
    EXPECT_EQ(count(), QStringLiteral("1 of 111"));
    key(Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(count(), QStringLiteral("111 of 111"));
    EXPECT_TRUE(view().standsAtEnd() || view().reading()->line > 150) << "scrolled to the last match";
    key(Qt::Key_F3);
    key(Qt::Key_Return);
    EXPECT_EQ(count(), QStringLiteral("2 of 111"));
    EXPECT_LT(view().reading()->line, 30U);
    type(QStringLiteral("5x"));
    EXPECT_EQ(count(), QStringLiteral("No matches"));
    key(Qt::Key_Backspace);
    EXPECT_EQ(count(), QStringLiteral("1 of 11"));
    fill(160); // the last forty lines went
    EXPECT_EQ(count(), QStringLiteral("1 of 11"));
    key(Qt::Key_Escape);
    EXPECT_FALSE(pane.findBar().isOpen());
    EXPECT_TRUE(view().hasFocus());
}

TEST_F(TranscriptPaneTest, type_grows_by_steps_between_its_ends_and_back) {
    fill(5);
    QList<double> told;
    QObject::connect(&pane, &TranscriptPane::zoomChanged, [&](double factor) { told += factor; });
    for (int i = 0; i < 9; ++i)
        pane.zoomBy(1);
    EXPECT_EQ(pane.zoom(), 2);
    pane.zoomBy(0);
    for (int i = 0; i < 4; ++i)
        pane.zoomBy(-1);
    EXPECT_EQ(told, (QList<double>{1.1, 1.25, 1.5, 1.75, 2, 1, 0.9, 0.8}));
    pane.setZoom(40);
    EXPECT_EQ(pane.zoom(), 2) << "a stored value may be anything";
    pane.setZoom(std::nan(""));
    EXPECT_EQ(pane.zoom(), 1);
}

} // namespace
} // namespace tavrin
