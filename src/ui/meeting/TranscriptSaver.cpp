#include "ui/meeting/TranscriptSaver.h"

#include "support/files/DiskFolder.h"
#include "support/files/FileError.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTimer>
#include <utility>

namespace tavrin {

namespace {

QString kindOf(TranscriptFormat format) {
    switch (format) {
    case TranscriptFormat::text:
        return TranscriptSaver::tr("Text (*.txt)");
    case TranscriptFormat::markdown:
        return TranscriptSaver::tr("Markdown (*.md)");
    case TranscriptFormat::srt:
        return TranscriptSaver::tr("Subtitles (*.srt)");
    }
    return {};
}

/// Null when it went well, else the reason.
QString written(const QString& path, const TranscriptSaver::Transcript& transcript, TranscriptFormat format) {
    try {
        const std::filesystem::path whole = QFileInfo(path).absoluteFilePath().toStdString();
        DiskFolder folder(whole.parent_path());
        folder.writeAtomically(whole.filename().string(),
                               exportTranscript(transcript.title, transcript.start, transcript.lines, format));
    } catch (const FileError& error) {
        return QString::fromStdString(error.code().message());
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    }
    return {};
}

} // namespace

TranscriptSaver::TranscriptSaver(QObject* parent) : QObject(parent) {
    // The thread ends before this object does; what is posted to it then is dropped with it.
    connect(this, &TranscriptSaver::ended, this, &TranscriptSaver::tell, Qt::QueuedConnection);
}

TranscriptSaver::~TranscriptSaver() = default;

void TranscriptSaver::ask(QWidget& window, Transcript transcript, TranscriptFormat format) {
    const QString name = QString::fromStdString(transcriptFileName(transcript.title, transcript.start, format));
    auto* dialog = new QFileDialog(&window, tr("Export transcript"),
                                   QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation), kindOf(format));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QFileInfo(name).suffix());
    dialog->selectFile(name);
    connect(dialog, &QFileDialog::fileSelected, this,
            [this, format, transcript = std::move(transcript)](const QString& path) mutable {
                save(path, std::move(transcript), format);
            });
    dialog->open();
}

void TranscriptSaver::save(const QString& path, Transcript transcript, TranscriptFormat format) {
    if (!thread) thread = std::make_unique<ThreadPool>(1, "export");
    thread->postAt(ThreadPool::now(), [this, path, format, transcript = std::move(transcript)] {
        emit ended(path, written(path, transcript, format));
    });
}

void TranscriptSaver::tell(const QString& path, const QString& reason) {
    if (reason.isNull())
        emit saved(path);
    else
        emit failed(tr("The transcript could not be written to %1: %2.").arg(path, reason));
}

} // namespace tavrin
