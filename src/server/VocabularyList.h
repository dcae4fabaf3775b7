#pragma once

#include "dictation/text/VocabularyCorrector.h"
#include "server/DeploymentValues.h"
#include "support/observe/Published.h"

#include <memory>

namespace tavrin {

class Preferences;

/// The user's list of misheard words, kept in the preferences. It begins with what the deployment brings, put there
/// once each; afterwards it is the user's alone, an empty one included.
///
/// Thread:   main executor only. It is the one writer of its preference.
/// Lifetime: store and executor outlive it.
/// Errors:   none. A stored list that cannot be read counts as empty; before anything is put in its place, it is kept
///           under the same key with ".damaged", ".damaged-2" and so on, and the log says so.
class VocabularyList final {
public:
    using Corrections = std::vector<VocabularyCorrection>;

    VocabularyList(Preferences& store, VocabularySeeds seedsOfDeployment, Executor& main);
    VocabularyList(const VocabularyList&) = delete;
    VocabularyList& operator=(const VocabularyList&) = delete;

    /// The list, with the seeds that were not put there yet. Also the first look that makes corrector() and observers
    /// know of it.
    const Corrections& loadVocabularyCorrections();

    /// An entry with a fresh id at the end.
    void addCorrection(std::vector<std::string> variants, std::string correct);
    /// Keeps id and place. False if the entry has gone: then nothing happens.
    bool updateCorrection(std::string_view id, std::vector<std::string> variants, std::string correct);
    void deleteCorrection(std::string_view id);

    /// The rules of the list as it is; the same object until the list changes. To be used on any thread.
    [[nodiscard]] std::shared_ptr<const VocabularyCorrector> corrector();

    /// Calls `observer` with the list after it changed, in a job of its own.
    template <std::invocable<const Corrections&> Observer>
    Subscription observe(Observer observer) {
        loadVocabularyCorrections();
        return corrections.observe(std::move(observer));
    }

private:
    void load();
    void applyFirstSeed();
    void applySecondSeed();
    [[nodiscard]] Corrections stored();
    void save(Corrections list);
    bool keepAside();

    Preferences& preferences;
    const VocabularySeeds seeds;
    Published<Corrections> corrections;
    std::shared_ptr<const VocabularyCorrector> compiled;
    bool isLoaded = false;
    bool isStoredUnreadable = false;
};

} // namespace tavrin
