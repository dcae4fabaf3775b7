#include "ui/settings/KeptAmounts.h"

#include <fmt/format.h>

#include <array>
#include <system_error>

namespace tavrin {

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
                        .preferences = amountBelow(places.preferences),
                        .diagnostics = amountBelow(places.diagnostics),
                        .modelBytes = {}};
    for (const auto& folder : modelFolders)
        amounts.modelBytes[folder] = amountBelow(folder).bytes;
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
    if (amount.files == 0) return "None";
    return fmt::format("{} {}, {}", amount.files, amount.files == 1 ? "file" : "files", byteWords(amount.bytes));
}

} // namespace tavrin
