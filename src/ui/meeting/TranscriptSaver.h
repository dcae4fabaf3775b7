#pragma once

#include "meeting/TranscriptExport.h"
#include "support/async/ThreadPool.h"

#include <QObject>
#include <QString>
#include <memory>
#include <vector>

class QWidget;

namespace tavrin {

/// Writes a transcript where the user wants it. The text is made and written on a thread of its own: neither a long
/// meeting nor a slow disk stops the window. Thread: the windows' thread; it waits for a file that is being written
/// when it goes.
class TranscriptSaver final : public QObject {
    Q_OBJECT

public:
    struct Transcript {
        std::string title;
        Date start;
        std::vector<TranscriptSegment> lines;
    };

    explicit TranscriptSaver(QObject* parent = nullptr);
    ~TranscriptSaver() override;

    /// Asks for a place, over `window`, and saves there. Nothing happens where the user cancels.
    void ask(QWidget& window, Transcript transcript, TranscriptFormat format);
    /// Replaces the file as a whole or not at all; it can be read by this user only. Ends with one of the signals.
    void save(const QString& path, Transcript transcript, TranscriptFormat format);

signals:
    void saved(const QString& path);
    /// Why there is no file, for the user.
    void failed(const QString& message);
    /// For this object alone, from the thread that writes: a null reason is success.
    void ended(const QString& path, const QString& reason);

private:
    void tell(const QString& path, const QString& reason);

    std::unique_ptr<ThreadPool> thread; // once something is saved
};

} // namespace tavrin
