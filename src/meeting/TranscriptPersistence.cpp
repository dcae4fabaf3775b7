#include "meeting/TranscriptPersistence.h"

#include "support/async/Race.h"
#include "support/async/RunOn.h"
#include "support/files/ApplicationNames.h"
#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/log/Log.h"

#include <algorithm>
#include <cerrno>
#include <mutex>

namespace tavrin {

namespace {

constexpr Logger logger{"TranscriptPersistence"};
constexpr std::uint64_t largestLog = std::uint64_t{64} << 20;
constexpr std::size_t mostWaitingLines = std::size_t{8} << 20;

/// Makes the folder before anything looks into it.
std::string checkedID(Folder& folder, std::string id) {
    if (!isPlainMeetingID(id)) throw FileError(EINVAL, "use the meeting id", id);
    folder.makeFolders(recordingsFolder);
    return id;
}

std::string fileOf(const std::string& meetingID, std::string_view suffix) {
    return recordingPath(meetingID + std::string(suffix));
}

bool endsWithin(const Folder& folder, const std::string& path) {
    const auto found = folder.info(path);
    return found && found->size > 0 && folder.readRange(path, found->size - 1, 1) != "\n";
}

/// Ends when the disk has everything. The archives stay alive meanwhile, the log's task holds what it needs.
Task<void> allSaved(std::shared_ptr<PcmArchive> mic, std::shared_ptr<PcmArchive> them, Task<void> log) {
    co_await mic->saved();
    co_await them->saved();
    co_await std::move(log);
}

} // namespace

std::string recordingPath(std::string_view name) {
    static_assert(recordingsFolder.starts_with(applicationFolderName));
    return std::string(recordingsFolder) + "/" + std::string(name);
}

/// Makes one notice of the troubles of several files. Counts anywhere, tells at home.
class TranscriptPersistence::Notices final : public std::enable_shared_from_this<Notices> {
public:
    Notices(Executor& homeExecutor, SaveTrouble listener) : home(homeExecutor), tell(std::move(listener)) {}

    void count(bool isInTrouble) {
        const std::scoped_lock lock(mutex); // until it is posted, for the order
        const int before = std::exchange(troubled, troubled + (isInTrouble ? 1 : -1));
        if ((before == 0) == (troubled == 0)) return;
        home.post([weak = weak_from_this(), cannotSave = troubled > 0] {
            const auto self = weak.lock();
            if (self && self->tell) self->tell(cannotSave);
        });
    }

    /// At home. Nothing is told any more.
    void silence() { tell = {}; }

private:
    Executor& home;
    SaveTrouble tell; // home executor
    std::mutex mutex;
    int troubled = 0; // guarded
};

TranscriptPersistence::TranscriptPersistence(Folder& applicationSupport, std::string id, Executor& home,
                                             Executor& storageExecutor, SaveTrouble onTrouble)
    : meetingID(checkedID(applicationSupport, std::move(id))), segmentsURL(fileOf(meetingID, segmentsSuffix)),
      checkpointURL(fileOf(meetingID, checkpointSuffix)), micPCMURL(fileOf(meetingID, micPCMSuffix)),
      themPCMURL(fileOf(meetingID, themPCMSuffix)), folder(applicationSupport), storage(storageExecutor),
      notices(std::make_shared<Notices>(home, std::move(onTrouble))),
      mic(std::make_shared<PcmArchive>(folder, micPCMURL, storage,
                                       [told = notices](bool isInTrouble) { told->count(isInTrouble); })),
      them(std::make_shared<PcmArchive>(folder, themPCMURL, storage,
                                        [told = notices](bool isInTrouble) { told->count(isInTrouble); })),
      segments(folder, segmentsURL, storage,
               {.mostWaiting = mostWaitingLines,
                .syncDelay = Duration::zero(),
                .onTrouble = [told = notices](bool isInTrouble) { told->count(isInTrouble); }}),
      needsLineEnd(endsWithin(folder, segmentsURL)) {}

TranscriptPersistence::~TranscriptPersistence() {
    notices->silence();
}

double TranscriptPersistence::lostSeconds() const {
    return static_cast<double>(std::max(mic->lostSamples(), them->lostSamples())) / pcmSampleRate;
}

Task<std::vector<PersistedTranscriptSegment>> TranscriptPersistence::loadSegments() {
    return runOn(storage, [&files = folder, path = segmentsURL](const std::stop_token&) {
        try {
            if (!files.info(path)) return std::vector<PersistedTranscriptSegment>();
            return parseSegmentsLog(files.readRange(path, 0, largestLog));
        } catch (const FileError& error) {
            logger.warning("The segments cannot be read: {}", error.what());
            return std::vector<PersistedTranscriptSegment>();
        }
    });
}

void TranscriptPersistence::appendSegment(const PersistedTranscriptSegment& segment) {
    std::string line = segmentsLog(std::span(&segment, 1));
    if (std::exchange(needsLineEnd, false)) line.insert(0, "\n");
    if (!segments.append(std::as_bytes(std::span(line)))) logger.warning("A segment is not kept on disk.");
}

void TranscriptPersistence::rewriteSegments(std::span<const PersistedTranscriptSegment> list) {
    needsLineEnd = false;
    segments.replace(segmentsLog(list));
}

Task<bool> TranscriptPersistence::writeCheckpoint(TranscriptCheckpoint checkpoint) {
    return runOn(storage, [&files = folder, path = checkpointURL, deleted = isDeleted,
                           value = std::move(checkpoint)](const std::stop_token&) {
        if (*deleted) return false;
        try {
            files.makeFolders(recordingsFolder);
            files.writeAtomically(path, value.json());
            return true;
        } catch (const FileError& error) {
            logger.warning("The checkpoint is not written: {}", error.what());
            return false;
        }
    });
}

void TranscriptPersistence::deletePCM() {
    mic->remove();
    them->remove();
}

void TranscriptPersistence::deleteAll() {
    *isDeleted = true;
    segments.remove(true);
    storage.post([&files = folder, path = checkpointURL] {
        try {
            files.remove(path);
        } catch (const FileError& error) {
            logger.warning("A checkpoint stays: {}", error.what());
        }
    });
    mic->close();
    them->close();
}

Task<bool> TranscriptPersistence::flush() {
    co_return co_await race(allSaved(mic, them, segments.saved()), PcmArchive::mostFlushTime);
}

} // namespace tavrin
