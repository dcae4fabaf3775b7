#pragma once

#include "ui/Theme.h"
#include "ui/meeting/MeetingState.h"

#include <QWidget>

class QHBoxLayout;

namespace tavrin {

class BusyRing;
class Button;
class Label;
class LevelMeter;
class TitleField;

/// The head of the meeting page: title, date, the two level meters, the running time and the buttons.
class MeetingHead final : public QWidget {
    Q_OBJECT

public:
    explicit MeetingHead(const Theme& theme, QWidget* parent = nullptr);

    void show(const MeetingState& state);
    /// Whether there is a transcript: it can be exported once the meeting has ended.
    void setHasLines(bool hasLines);
    void setElapsed(const QString& text);
    void setLevels(float me, float them);
    /// Shows levels that stay, for pictures.
    void pinLevels(float me, float meMark, float them, float themMark);
    /// Starts, begins a new meeting or stops, whichever the shown button does; nothing where none is possible.
    void startOrStop();
    /// The same for pause and resume.
    void pauseOrResume();
    /// Where the focus of the page begins.
    [[nodiscard]] QWidget& firstButton() const;

signals:
    void startRequested();
    void pauseRequested();
    void resumeRequested();
    void stopRequested();
    /// What is shown has ended: a new meeting.
    void newRequested();
    /// The menu of formats belongs below this place of the button, on the screen.
    void exportRequested(QPoint below);
    void titleEdited(const QString& title);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void showButtons();
    void addMeters(QHBoxLayout& row);
    void addButtons(QHBoxLayout& row);
    void fitMeters();

    const Theme& theme;
    MeetingState state;
    bool hasLines = false;
    TitleField* title;
    Label* date;
    QWidget* meters;
    LevelMeter* me;
    LevelMeter* them;
    Label* elapsed;
    BusyRing* busy;
    Button* exporting;
    Button* another;
    Button* start;
    Button* pause;
    Button* resume;
    Button* stop;
};

} // namespace tavrin
