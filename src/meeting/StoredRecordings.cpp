#include "meeting/StoredRecordings.h"

#include "meeting/TranscriptPersistence.h"
#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/log/Log.h"

#include <set>
#include <string>
#include <vector>

namespace tavrin {

namespace {

constexpr Logger logger{"StoredRecordings"};

struct Found {
    StoredRecordings amounts;
    std::vector<std::string> leftFiles;
};

/// The meeting that a sound file belongs to; absent for other files.
std::optional<std::string> meetingOfSound(std::string_view name) {
    for (const std::string_view suffix : {micPCMSuffix, themPCMSuffix})
        if (name.ends_with(suffix)) return std::string(name.substr(0, name.size() - suffix.size()));
    return std::nullopt;
}

/// Counts a file.
void look(const Folder& support, const std::string& name, bool isLeft, Found& found) {
    auto& amounts = found.amounts;
    std::vector<StoredRecordings::Amount*> counts{meetingOfSound(name) ? &amounts.audio : &amounts.texts};
    if (isLeft) counts.push_back(&amounts.leftAudio);
    try {
        const auto info = support.info(recordingPath(name));
        if (!info || info->isFolder) return;
        for (auto* amount : counts) {
            ++amount->files;
            amount->bytes += info->size;
        }
        if (isLeft) found.leftFiles.push_back(name);
    } catch (const FileError& error) {
        logger.warning("A recording cannot be looked at: {}", error.what());
        for (auto* amount : counts)
            ++amount->unseen;
    }
}

Found look(const Folder& support, std::optional<std::string_view> openMeeting) {
    Found found;
    if (!support.info(recordingsFolder)) return found;
    const std::vector<std::string> names = support.list(recordingsFolder);
    std::set<std::string> alive;
    if (openMeeting) alive.emplace(*openMeeting);
    for (const std::string& name : names)
        if (name.ends_with(checkpointSuffix)) alive.insert(name.substr(0, name.size() - checkpointSuffix.size()));
    for (const std::string& name : names) {
        const auto meeting = meetingOfSound(name);
        look(support, name, meeting && !alive.contains(*meeting), found);
    }
    return found;
}

Found lookQuietly(const Folder& support, std::optional<std::string_view> openMeeting) {
    try {
        return look(support, openMeeting);
    } catch (const FileError& error) {
        logger.warning("The recordings cannot be looked at: {}", error.what());
        const StoredRecordings::Amount unseen{.unseen = 1};
        return {.amounts = {.texts = unseen, .audio = unseen, .leftAudio = unseen}, .leftFiles = {}};
    }
}

} // namespace

StoredRecordings storedRecordings(const Folder& support, std::optional<std::string_view> openMeeting) {
    return lookQuietly(support, openMeeting).amounts;
}

StoredRecordings deleteLeftAudio(Folder& support, std::optional<std::string_view> openMeeting) {
    for (const std::string& name : lookQuietly(support, openMeeting).leftFiles) {
        try {
            support.remove(recordingPath(name));
            logger.info("removed left-over audio at the user's word");
        } catch (const FileError& error) {
            logger.warning("Left-over audio stays: {}", error.what());
        }
    }
    return storedRecordings(support, openMeeting);
}

} // namespace tavrin
