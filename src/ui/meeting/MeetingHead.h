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
    void setElapsed(const QString& text);
    void setLevels(float me, float them);
    /// Shows levels that stay, for pictures.
    void pinLevels(float me, float meMark, float them, float themMark);
    /// Starts or stops, whichever the shown button does; nothing where neither is possible.
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
    void titleEdited(const QString& title);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void addMeters(QHBoxLayout& row);
    void addButtons(QHBoxLayout& row);
    void fitMeters();

    const Theme& theme;
    TitleField* title;
    Label* date;
    QWidget* meters;
    LevelMeter* me;
    LevelMeter* them;
    Label* elapsed;
    BusyRing* busy;
    Button* start;
    Button* pause;
    Button* resume;
    Button* stop;
};

} // namespace tavrin
