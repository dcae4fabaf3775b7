#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

namespace tavrin {

/// Counts a meeting's active time on screen. A timer runs only while it counts, and wakes at the turn of each second.
class ElapsedClock final : public QObject {
    Q_OBJECT

public:
    explicit ElapsedClock(QObject* parent = nullptr);

    /// The time as of now, and whether it runs on.
    void set(double seconds, bool runs);

    [[nodiscard]] QString text() const;
    [[nodiscard]] bool isCounting() const { return timer.isActive(); }

signals:
    void changed(const QString& text);

private:
    [[nodiscard]] double now() const;
    void tell();

    double base = 0;
    bool running = false;
    QElapsedTimer since;
    QTimer timer;
    QString told;
};

/// "24:17", or "1:24:17" from an hour on. Anything below zero reads as zero.
QString elapsedText(double seconds);

} // namespace tavrin
