#pragma once

#include "ui/Theme.h"
#include "ui/meeting/MeetingState.h"

#include <QWidget>

class QBoxLayout;

namespace tavrin {

class Button;
class KeyCap;
class Label;

/// The first page: what can be done now, and what will stand here. A meeting can be started from it, or gone to while
/// one is open.
class HomePage final : public QWidget {
    Q_OBJECT

public:
    explicit HomePage(const Theme& theme, QWidget* parent = nullptr);

    using QWidget::show;
    void show(const MeetingState& state);

signals:
    void startRequested();
    /// The page of the open meeting is wanted.
    void meetingRequested();

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* meetingCard();
    void fit();

    const Theme& theme;
    Label* title;
    Label* heading;
    Label* text;
    KeyCap* keys;
    Button* button;
    bool meetingIsOpen = false;
    QBoxLayout* columns;
};

} // namespace tavrin
