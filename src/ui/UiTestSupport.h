#pragma once

#include "meeting/TranscriptSegment.h"
#include "ui/Theme.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWidget>
#include <string>
#include <vector>

namespace tavrin {

/// Tests of views: a theme without motion, and what a user does by keyboard.
class UiTest : public testing::Test {
protected:
    UiTest() { theme.setMotion(false); }

    static void settle() {
        for (int i = 0; i < 3; ++i)
            QCoreApplication::processEvents();
    }

    static void press(QWidget& widget, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, modifiers);
            QCoreApplication::sendEvent(&widget, &event);
        }
    }

    static void mouseEvent(QWidget& widget, QEvent::Type type, QPoint at, Qt::MouseButton button = Qt::LeftButton) {
        QMouseEvent event(type, at, widget.mapToGlobal(at), button, button, Qt::NoModifier);
        QCoreApplication::sendEvent(&widget, &event);
    }

    /// What Tab reaches in `root`, in its order.
    static QList<QWidget*> tabStops(QWidget& root) {
        QList<QWidget*> stops;
        for (QWidget* each = root.nextInFocusChain(); each != &root; each = each->nextInFocusChain()) {
            const bool reachable = each->isVisible() && each->isEnabled() && (each->focusPolicy() & Qt::TabFocus);
            if (root.isAncestorOf(each) && reachable && !each->focusProxy()) stops.append(each);
        }
        return stops;
    }

    static TranscriptSegment line(SegmentId id, const std::string& speaker, const std::string& text) {
        TranscriptSegment segment;
        segment.id = id;
        segment.speakerLabel = speaker;
        segment.text = text;
        segment.date = Date::fromUnix(1'773'310'982 + double(id));
        if (speaker != meLabel) segment.themSpeakerIndex = 0;
        return segment;
    }

    /// Lines of both sides by turns.
    template <class Text>
    static std::vector<TranscriptSegment> dialogue(int count, const Text& textOf) {
        std::vector<TranscriptSegment> said;
        said.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            said.push_back(line(SegmentId(i) + 1, i % 2 ? "Me" : "Them", textOf(i)));
        return said;
    }

    Theme theme{*qApp};
};

} // namespace tavrin
