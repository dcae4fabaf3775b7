#include "meeting/RecoverableMeetings.h"

#include "meeting/TranscriptPersistence.h"
#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/log/Log.h"

#include <algorithm>

namespace tavrin {

namespace {

constexpr Logger logger{"RecoverableMeetings"};
constexpr std::uint64_t largestCheckpoint = std::uint64_t{64} << 20;

std::optional<TranscriptCheckpoint> readCheckpoint(const Folder& support, const std::string& path) {
    try {
        auto checkpoint = TranscriptCheckpoint::parse(support.read(path, largestCheckpoint));
        // The id becomes a part of file names.
        if (checkpoint && isPlainMeetingID(checkpoint->meetingID)) return checkpoint;
        logger.warning("{} is no usable checkpoint and is left alone", path);
    } catch (const FileError& error) {
        logger.warning("A checkpoint is left alone: {}", error.what());
    }
    return std::nullopt;
}

void removeQuietly(Folder& support, const std::string& path) {
    try {
        support.remove(path);
    } catch (const FileError& error) {
        logger.warning("A file of an old meeting stays: {}", error.what());
    }
}

void removeStale(Folder& support, const std::string& checkpointPath, const std::string& meetingID) {
    removeQuietly(support, checkpointPath);
    // No lane's file has the middle name: the microphone's sound outlives its meeting, on purpose.
    for (const std::string_view suffix : {segmentsSuffix, std::string_view("-mic.pcm"), themPCMSuffix})
        removeQuietly(support, recordingPath(meetingID + std::string(suffix)));
}

void removeTemporariesQuietly(Folder& support) {
    try {
        support.removeTemporaries(recordingsFolder);
    } catch (const FileError& error) {
        logger.warning("What an interrupted write left stays: {}", error.what());
    }
}

std::vector<std::string> namesIn(Folder& support) {
    try {
        if (!support.info(recordingsFolder)) return {};
        removeTemporariesQuietly(support);
        return support.list(recordingsFolder);
    } catch (const FileError& error) {
        logger.warning("Earlier meetings cannot be looked for: {}", error.what());
        return {};
    }
}

} // namespace

std::vector<TranscriptCheckpoint> recoverableMeetings(Folder& support, Date now, double maximumAge) {
    std::vector<TranscriptCheckpoint> kept;
    for (const std::string& name : namesIn(support)) {
        if (!name.ends_with(checkpointSuffix)) continue;
        auto checkpoint = readCheckpoint(support, recordingPath(name));
        if (!checkpoint) continue;
        if (now.secondsSince(std::max(checkpoint->startedAt, checkpoint->updatedAt)) > maximumAge)
            removeStale(support, recordingPath(name), checkpoint->meetingID);
        else
            kept.push_back(std::move(*checkpoint));
    }
    std::ranges::sort(kept, std::greater(), &TranscriptCheckpoint::updatedAt);
    return kept;
}

} // namespace tavrin
