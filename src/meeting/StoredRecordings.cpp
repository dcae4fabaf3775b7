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
constexpr std::string_view checkpointSuffix = "-checkpoint.json";
constexpr std::string_view pcmSuffixes[] = {"-me.pcm", "-them.pcm"};

struct Found {
    StoredRecordings amounts;
    std::vector<std::string> leftFiles;
};

/// The meeting that a sound file belongs to; absent for other files.
std::optional<std::string> meetingOfSound(std::string_view name) {
    for (const std::string_view suffix : pcmSuffixes)
        if (name.ends_with(suffix)) return std::string(name.substr(0, name.size() - suffix.size()));
    return std::nullopt;
}

void count(StoredRecordings::Amount& amount, std::uint64_t bytes) {
    ++amount.files;
    amount.bytes += bytes;
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
        const auto info = support.info(recordingPath(name));
        if (!info || info->isFolder) continue;
        const auto meeting = meetingOfSound(name);
        count(meeting ? found.amounts.audio : found.amounts.texts, info->size);
        if (!meeting || alive.contains(*meeting)) continue;
        count(found.amounts.leftAudio, info->size);
        found.leftFiles.push_back(name);
    }
    return found;
}

Found lookQuietly(const Folder& support, std::optional<std::string_view> openMeeting) {
    try {
        return look(support, openMeeting);
    } catch (const FileError& error) {
        logger.warning("The recordings cannot be looked at: {}", error.what());
        return {};
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
