#pragma once

#include "meeting/StoredRecordings.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {

class Folder;

/// Where the program keeps what it keeps.
struct KeptPlaces {
    std::filesystem::path recordings;
    std::filesystem::path models;
    std::filesystem::path preferences;
    std::filesystem::path diagnostics;
};

/// How much it is. A plain value.
struct KeptAmounts {
    using Amount = StoredRecordings::Amount;

    StoredRecordings recordings;
    Amount models;                  // in their place and elsewhere
    std::filesystem::path modelsAt; // where the first of them lie; their place if there are none
    Amount preferences;
    Amount diagnostics;
    std::map<std::filesystem::path, std::uint64_t> modelBytes; // of single model folders

    bool operator==(const KeptAmounts&) const = default;
};

/// All files below a folder, those behind links included; links to folders are not followed.
/// Thread: any; reads the disk. Errors: none; what cannot be read does not count.
KeptAmounts::Amount amountBelow(const std::filesystem::path& folder);

/// Counts everything. `applicationSupport` holds the recordings; `openMeeting` as storedRecordings() takes it;
/// `modelFolders` are those in use, wherever they lie.
/// Thread and errors as above.
KeptAmounts countKept(const Folder& applicationSupport, const KeptPlaces& places,
                      const std::optional<std::string>& openMeeting,
                      const std::vector<std::filesystem::path>& modelFolders);

/// "145 MB", "1.6 GB", "0 bytes": by thousands, as file managers count.
std::string byteWords(std::uint64_t bytes);
/// "12 files, 34 MB", "None", "3 files, 5 MB; 1 could not be looked at", "Could not be looked at".
std::string amountWords(const KeptAmounts::Amount& amount);

} // namespace tavrin
