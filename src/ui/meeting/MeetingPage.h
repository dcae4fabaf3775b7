#pragma once

#include "meeting/TranscriptSegment.h"
#include "ui/Theme.h"
#include "ui/meeting/MeetingState.h"
#include "ui/meeting/TranscriptPane.h"

#include <QWidget>
#include <vector>

class QBoxLayout;
class QMenu;
class QScrollArea;

namespace tavrin {

class Button;
class DeviceChip;
class ElapsedClock;
class MeetingFoot;
class MeetingHead;
class NoticeLine;
class TranscriptSaver;
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

    [[nodiscard]] TranscriptPane& transcript() const { return *pane; }
    /// The lines that it shows, for other views of the same transcript.
    [[nodiscard]] TranscriptLines& lines() const { return *shownLines; }
    [[nodiscard]] MeetingHead& head() const { return *top; }
    [[nodiscard]] const MeetingState& shownState() const { return state; }

    /// Opens the menu of export formats at a place on the screen.
    void openExportMenu(QPoint at);

signals:
    void startRequested();
    void pauseRequested();
    void resumeRequested();
    void stopRequested();
    /// A new meeting in place of the one that has ended.
    void newRequested();
    void titleEdited(const QString& title);
    void noticeDismissed();
    /// The running time as shown, once a second while it runs; empty where no meeting is open.
    void elapsedShown(const QString& text, bool capturing);
    /// Something else is shown now.
    void shown(const MeetingState& state);
    /// The transcript is wanted in a window of its own.
    void windowRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showNotices();
    void showBody();
    void addNotices(QBoxLayout& column);
    void addTools();
    void placeTools();
    void joinHead();
    void joinExport();
    void fillExportMenu(QMenu& menu);

    const Theme& theme;
    MeetingState state;
    ElapsedClock* clock;
    MeetingHead* top;
    NoticeLine* error;
    NoticeLine* notice;
    NoticeLine* restored;
    NoticeLine* saveFailed;
    NoticeLine* savedTo;
    TranscriptLines* shownLines;
    QWidget* tools; // with its buttons before the transcript in the order of Tab
    Button* find;
    Button* apart;
    TranscriptPane* pane;
    TranscriptSaver* saver;
    QScrollArea* empty;
    DeviceChip* microphone;
    DeviceChip* speaker;
    MeetingFoot* foot;
};

} // namespace tavrin
