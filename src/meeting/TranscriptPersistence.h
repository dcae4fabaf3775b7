#pragma once

#include "meeting/PcmArchive.h"
#include "meeting/TranscriptCheckpoint.h"

namespace tavrin {

/// Where meetings are kept, below the application support folder.
inline constexpr std::string_view recordingsFolder = "TavrinAssistant/Recordings";
std::string recordingPath(std::string_view name);
// The files of a meeting: its id, and one of these.
inline constexpr std::string_view segmentsSuffix = "-segments.jsonl";
inline constexpr std::string_view checkpointSuffix = "-checkpoint.json";
inline constexpr std::string_view micPCMSuffix = "-me.pcm";
inline constexpr std::string_view themPCMSuffix = "-them.pcm";

/// One meeting on disk: the sound of both lanes, a log of final segments, and a checkpoint. Whatever becomes of the
/// program, at most the last second is missing.
///
/// File errors are silent here: what is appended waits and is tried again (AppendQueue), what is removed may stay. That
/// a recording cannot be saved is told to `onTrouble`: once, for all files together, and once when it is over; what was
/// lost meanwhile is in lostSeconds().
/// Thread:   home executor, unless told otherwise. All work on files but that of the constructor is done on `storage`,
///           in the order of the calls.
/// Lifetime: folder and executors outlive it. After its death nothing is told any more.
class TranscriptPersistence final {
public:
    using SaveTrouble = std::function<void(bool cannotSave)>;

    /// Opens the store and makes the recordings folder, but no file. Throws FileError; also for an id that is not
    /// plain.
    TranscriptPersistence(Folder& applicationSupport, std::string meetingID, Executor& home, Executor& storage,
                          SaveTrouble onTrouble = {});
    ~TranscriptPersistence();
    TranscriptPersistence(const TranscriptPersistence&) = delete;
    TranscriptPersistence& operator=(const TranscriptPersistence&) = delete;

    const std::string meetingID;
    // Below the application support folder.
    const std::string segmentsURL;
    const std::string checkpointURL;
    const std::string micPCMURL;
    const std::string themPCMURL;

    /// The lanes' sound. Capture may hold on to them: after deleteAll() they take nothing.
    const std::shared_ptr<PcmArchive>& micPCM() const { return mic; }
    const std::shared_ptr<PcmArchive>& themPCM() const { return them; }

    /// Sound of this run that is lost, because the disk took nothing for more than a minute: of the lane that lost
    /// more. Any thread.
    [[nodiscard]] double lostSeconds() const;

    /// The segments of the log, those of earlier runs included; none if there is no log or it cannot be read.
    [[nodiscard]] Task<std::vector<PersistedTranscriptSegment>> loadSegments();
    /// Adds a line to the log.
    void appendSegment(const PersistedTranscriptSegment& segment);
    /// Replaces the log.
    void rewriteSegments(std::span<const PersistedTranscriptSegment> segments);

    /// Replaces the checkpoint. False when it could not be written, or everything was deleted.
    [[nodiscard]] Task<bool> writeCheckpoint(TranscriptCheckpoint checkpoint);

    /// Removes the sound of both lanes.
    void deletePCM();
    /// Removes everything. The store takes nothing any more.
    void deleteAll();

    /// Everything appended is written and synced: true; false when the disk did not get there in two seconds.
    [[nodiscard]] Task<bool> flush();

private:
    class Notices;

    Folder& folder;
    Executor& storage;
    std::shared_ptr<Notices> notices;
    std::shared_ptr<std::atomic<bool>> isDeleted = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<PcmArchive> mic;
    std::shared_ptr<PcmArchive> them;
    AppendQueue segments;
    bool needsLineEnd = false; // a crash has cut the log's last line
};

} // namespace tavrin
