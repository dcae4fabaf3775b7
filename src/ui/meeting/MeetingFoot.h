#pragma once

#include "ui/Theme.h"
#include "ui/meeting/MeetingState.h"

#include <QWidget>

namespace tavrin {

class Button;
class IconView;
class Label;
class Picker;

/// The foot of the meeting page: what the transcription is doing, how far it is behind, and where the meeting goes.
class MeetingFoot final : public QWidget {
    Q_OBJECT

public:
    explicit MeetingFoot(const Theme& theme, QWidget* parent = nullptr);

    void show(const MeetingState& state);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void fit();

    const Theme& theme;
    IconView* icon;
    Label* first;
    Label* second;
    Picker* workspace;
    Picker* client;
    Button* sync;
    QString secondLine;
};

/// How far the transcription is behind, as shown: a line and its continuation. Nothing when it is not behind.
struct BacklogText {
    QString first;
    QString second;
};
BacklogText backlogText(double seconds);

} // namespace tavrin
