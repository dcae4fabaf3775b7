#pragma once

#include "support/time/Time.h"

#include <QObject>
#include <QString>
#include <QTimer>

namespace tavrin {

/// Measures how long the main thread's loop was ever kept from its events, in two ways. For demonstrations and tests,
/// as it never lets the program idle. One at a time. Thread: main.
///
/// - The longest gap between two beats of 10 ms. A busy machine, or the one below a virtual machine, makes gaps by
///   itself: it lets the loop oversleep.
/// - The longest turn: from the moment the loop is woken until it waits again, and how long before it was ready without
///   a processor. Whatever of this program keeps the loop away is in it, and a wait that is overslept is not.
class UiHeartbeat final : public QObject {
public:
    /// Writes "worst_gap_ms N" and "longest_turn_ms N" to `file` when it ends.
    explicit UiHeartbeat(QString file);
    ~UiHeartbeat() override;

    /// The loop is about to wait, and goes on.
    void waits();
    void wakes();

private:
    void beat();
    /// How long this thread ever was ready without a processor; zero where the system does not count it.
    [[nodiscard]] Duration readyForLong() const;

    const QString file;
    const int counts;
    QTimer timer;
    SteadyInstant lastBeat;
    Duration worstGap{};
    SteadyInstant wokeAt;
    Duration readyAtWait{};
    Duration readyBeforeTurn{};
    Duration longestTurn{};
};

} // namespace tavrin
