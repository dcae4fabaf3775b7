#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tavrin {

class Folder;

/// What lies in the recordings folder, in files and bytes.
struct StoredRecordings {
    struct Amount {
        std::size_t files = 0;
        std::uint64_t bytes = 0;
        std::size_t unseen = 0; ///< files besides, or the folder itself, that could not be looked at

        bool operator==(const Amount&) const = default;
    };
    Amount texts;     ///< logs of lines and checkpoints
    Amount audio;     ///< all sound
    Amount leftAudio; ///< of it: sound of meetings that cannot come back any more, having no checkpoint

    bool operator==(const StoredRecordings&) const = default;
};

/// Counts what is there; `openMeeting` is a meeting whose sound is never left over, with or without a checkpoint.
/// Thread: any; reads the disk. Errors: none are thrown; what cannot be looked at is logged and counted as unseen.
StoredRecordings storedRecordings(const Folder& support, std::optional<std::string_view> openMeeting);

/// Removes what counts as leftAudio, at the user's word. Gives what is left over afterwards: nothing, and nothing
/// unseen, unless a file could not be removed or looked at. Thread and errors as above.
StoredRecordings deleteLeftAudio(Folder& support, std::optional<std::string_view> openMeeting);

} // namespace tavrin
