#pragma once

#include "meeting/TranscriptSegment.h"
#include "ui/Theme.h"
#include "ui/meeting/MeetingState.h"

#include <QWidget>
#include <vector>

class QScrollArea;

namespace tavrin {

class DeviceChip;
class ElapsedClock;
class MeetingFoot;
class MeetingHead;
class NoticeLine;
class TranscriptView;

/// The meeting as it is recorded: it shows what it is given and says what the user asks for. It knows no session.
/// Thread: the windows' thread. The theme outlives it.
class MeetingPage final : public QWidget {
    Q_OBJECT

public:
    explicit MeetingPage(const Theme& theme, QWidget* parent = nullptr);

    using QWidget::show;
    /// Cheap where little changed.
    void show(const MeetingState& state);
    /// Levels of 0 to 1, as often as they come.
    void setLevels(float me, float them);
    /// All lines, in order. Cheap where only lines at the end are new.
    void setLines(const std::vector<TranscriptSegment>& lines);

    [[nodiscard]] TranscriptView& transcript() const { return *lines; }
    [[nodiscard]] MeetingHead& head() const { return *top; }

signals:
    void startRequested();
    void pauseRequested();
    void resumeRequested();
    void stopRequested();
    void titleEdited(const QString& title);
    void noticeDismissed();
    /// The running time as shown, once a second while it runs; empty where no meeting is open.
    void elapsedShown(const QString& text, bool capturing);

private:
    void showNotices();
    void showBody();

    const Theme& theme;
    MeetingState state;
    ElapsedClock* clock;
    MeetingHead* top;
    NoticeLine* error;
    NoticeLine* notice;
    NoticeLine* restored;
    TranscriptView* lines;
    QScrollArea* empty;
    DeviceChip* microphone;
    DeviceChip* speaker;
    MeetingFoot* foot;
};

} // namespace tavrin
