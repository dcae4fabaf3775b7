#pragma once

#include "ui/Theme.h"
#include "ui/meeting/MeetingState.h"
#include "ui/meeting/TranscriptLines.h"

#include <QByteArray>
#include <QWidget>

namespace tavrin {

class Label;
class NoticeLine;
class TranscriptPane;

/// The transcript in a window of its own, beside the main window: title, lines, search, and how far the transcription
/// is behind. It shares the lines with the page. Closing it ends nothing: it is hidden and keeps its place.
/// Thread: the windows' thread. Theme and lines outlive it.
class TranscriptWindow final : public QWidget {
    Q_OBJECT

public:
    TranscriptWindow(const Theme& theme, TranscriptLines& lines);

    using QWidget::show;
    void show(const MeetingState& state);
    /// Shows the window and brings it to the front.
    void raiseToFront();
    [[nodiscard]] TranscriptPane& pane() const { return *transcript; }

    /// Where it stands, to be kept for the next run; restorePlace() takes that back, and nothing else.
    [[nodiscard]] QByteArray place() const { return saveGeometry(); }
    void restorePlace(const QByteArray& place);

signals:
    /// It was closed, or moved and sized: time to keep its place.
    void placeChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    const Theme& theme;
    Label* title;
    Label* date;
    NoticeLine* backlog;
    TranscriptPane* transcript;
};

} // namespace tavrin
