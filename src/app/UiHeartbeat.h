#pragma once

#include "support/time/Time.h"

#include <QObject>
#include <QString>
#include <QTimer>

namespace tavrin {

/// Measures how long the main thread's loop was ever kept from running: a beat every 10 ms, and the longest time
/// between two. For demonstrations and tests, as it never lets the program idle. Thread: main.
class UiHeartbeat final : public QObject {
public:
    /// Writes "worst_gap_ms N" to `file` when it ends.
    explicit UiHeartbeat(QString file);
    ~UiHeartbeat() override;

private:
    void beat();

    const QString file;
    QTimer timer;
    SteadyInstant last;
    Duration worst{};
};

} // namespace tavrin
