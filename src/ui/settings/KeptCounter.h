#pragma once

#include "support/async/TaskScope.h"
#include "support/observe/Published.h"
#include "ui/settings/KeptAmounts.h"

#include <functional>

namespace tavrin {

/// Knows how much the program keeps, and deletes what nothing needs any more. All looks at the disk are on `storage`.
///
/// Deleting goes through the executor on which recordings are written: a meeting that begins afterwards makes its files
/// afterwards, so that they are never taken for left over.
/// Thread:   main. Lifetime: executors and folder outlive it, and what it has posted.
class KeptCounter final {
public:
    struct Dependencies {
        Executor& main;
        Executor& storage;
        Folder& applicationSupport;
        KeptPlaces places;
        /// The meeting whose recording is in use; its sound is never left over. Called on main.
        std::function<std::optional<std::string>()> openMeeting;
    };

    explicit KeptCounter(Dependencies dependencies);

    /// Counts anew, these model folders one by one besides. An earlier count that has not come home is dropped.
    void count(std::vector<std::filesystem::path> modelFolders);
    /// Deletes sound that no meeting needs, and counts anew. True if nothing of it is left, as far as everything could
    /// be looked at.
    Task<bool> deleteLeftAudio();

    [[nodiscard]] const KeptPlaces& places() const { return use.places; }

    /// Absent until the first count is home.
    Published<std::optional<KeptAmounts>> amounts;

private:
    Task<void> countThem();

    const Dependencies use;
    std::vector<std::filesystem::path> models;
    TaskHandle counting;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
