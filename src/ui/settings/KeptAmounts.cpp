#include "ui/settings/KeptAmounts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <system_error>

namespace tavrin {

namespace {

std::filesystem::path resolved(const std::filesystem::path& folder) {
    std::error_code unknown;
    auto path = std::filesystem::weakly_canonical(folder, unknown);
    return unknown ? folder : path;
}

bool isBelow(const std::filesystem::path& path, const std::filesystem::path& folder) {
    return !folder.empty() && std::ranges::mismatch(folder, path).in1 == folder.end();
}

/// Models may lie in other places, which links in theirs may lead to.
void countModelsElsewhere(KeptAmounts& amounts, const std::filesystem::path& place,
                          const std::vector<std::filesystem::path>& modelFolders) {
    std::set<std::filesystem::path> counted;
    for (const auto& folder : modelFolders) {
        const auto path = resolved(folder);
        if (isBelow(path, resolved(place)) || !counted.insert(path).second) continue;
        const KeptAmounts::Amount amount = amountBelow(path);
        if (amounts.models.files == 0 && amount.files > 0) amounts.modelsAt = path;
        amounts.models.files += amount.files;
        amounts.models.bytes += amount.bytes;
    }
}

} // namespace

KeptAmounts::Amount amountBelow(const std::filesystem::path& folder) {
    KeptAmounts::Amount amount;
    std::error_code error;
    using Walk = std::filesystem::recursive_directory_iterator;
    for (Walk walk(folder, std::filesystem::directory_options::skip_permission_denied, error), end;
         !error && walk != end; walk.increment(error)) {
        std::error_code unreadable;
        if (!walk->is_regular_file(unreadable)) continue;
        const std::uintmax_t size = walk->file_size(unreadable);
        if (unreadable) continue;
        ++amount.files;
        amount.bytes += size;
    }
    return amount;
}

KeptAmounts countKept(const Folder& applicationSupport, const KeptPlaces& places,
                      const std::optional<std::string>& openMeeting,
                      const std::vector<std::filesystem::path>& modelFolders) {
    KeptAmounts amounts{.recordings = storedRecordings(applicationSupport, openMeeting),
                        .models = amountBelow(places.models),
                        .modelsAt = places.models,
                        .preferences = amountBelow(places.preferences),
                        .diagnostics = amountBelow(places.diagnostics),
                        .modelBytes = {}};
    for (const auto& folder : modelFolders)
        amounts.modelBytes[folder] = amountBelow(folder).bytes;
    countModelsElsewhere(amounts, places.models, modelFolders);
    return amounts;
}

std::string byteWords(std::uint64_t bytes) {
    constexpr std::array units{"bytes", "kB", "MB", "GB", "TB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    // What would be rounded to 1000 belongs to the next unit.
    for (; value >= 999.5 && unit + 1 < units.size(); value /= 1000)
        ++unit;
    if (bytes == 1) return "1 byte";
    const bool isShort = unit > 0 && value < 9.95;
    return fmt::format("{:.{}f} {}", value, isShort ? 1 : 0, units.at(unit));
}

std::string amountWords(const KeptAmounts::Amount& amount) {
    if (amount.files == 0) return amount.unseen > 0 ? "Could not be looked at" : "None";
    const std::string unseen = amount.unseen > 0 ? fmt::format("; {} could not be looked at", amount.unseen) : "";
    return fmt::format("{} {}, {}{}", amount.files, amount.files == 1 ? "file" : "files", byteWords(amount.bytes),
                       unseen);
}

} // namespace tavrin
