#pragma once

#include "meeting/TranscriptionSession.h"
#include "platform/AudioDevices.h"
#include "support/observe/ObserverList.h"
#include "ui/meeting/MeetingState.h"

#include <QObject>
#include <vector>

namespace tavrin {

class MeetingPage;

/// Joins the meeting page to the session: shows what the session publishes and passes on what the user asks for.
/// Thread: main. Session, devices and page outlive it.
class MeetingPresenter final : public QObject {
    Q_OBJECT

public:
    MeetingPresenter(TranscriptionSession& session, const AudioDevices& devices, MeetingPage& page);

    /// What the page shows now.
    [[nodiscard]] MeetingState state() const;

    /// Starts a meeting, or ends the one that runs.
    void startOrStop();
    /// Pauses the meeting, or goes on with it.
    void pauseOrResume();

    /// The devices may have changed.
    void refresh();

Q_SIGNALS:
    /// The session does something else now.
    void changed();

private:
    void watch();
    void showLevels();

    TranscriptionSession& session;
    const AudioDevices& devices;
    MeetingPage& page;
    std::optional<std::string> dismissedNotice;
    std::vector<Subscription> subscriptions;
};

} // namespace tavrin
