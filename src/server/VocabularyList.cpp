#include "server/VocabularyList.h"

#include "platform/Preferences.h"
#include "support/log/Log.h"
#include "support/text/Unicode.h"
#include "support/text/Uuid.h"

#include <algorithm>
#include <set>
#include <utility>

namespace tavrin {

namespace {

constexpr Logger logger{"Vocabulary"};
constexpr std::string_view listKey = "tavrin.vocabularyCorrections";
constexpr std::string_view firstSeedKey = "tavrin.vocabularyCorrectionsSeeded";
constexpr std::string_view secondSeedKey = "tavrin.vocabularyCorrectionsBoostV2";
constexpr int mostKeptAside = 100;

} // namespace

VocabularyList::VocabularyList(Preferences& store, VocabularySeeds seedsOfDeployment, Executor& main)
    : preferences(store), seeds(std::move(seedsOfDeployment)), corrections(main) {}

const VocabularyList::Corrections& VocabularyList::loadVocabularyCorrections() {
    if (!std::exchange(isLoaded, true)) load();
    return *corrections;
}

void VocabularyList::load() {
    corrections = stored();
    if (preferences.boolean(firstSeedKey) != true) applyFirstSeed();
    if (preferences.boolean(secondSeedKey) != true) applySecondSeed();
}

/// Takes the place of what is stored, which is nothing on a first run.
void VocabularyList::applyFirstSeed() {
    Corrections list;
    for (const std::string& name : seeds.names)
        list.push_back({newUuid(), {name}, name});
    isStoredUnreadable = preferences.value(listKey).has_value(); // to be kept, whatever it is
    save(std::move(list));
}

/// The user's own entry for a word counts.
void VocabularyList::applySecondSeed() {
    preferences.set(secondSeedKey, true);
    Corrections list = *corrections;
    std::set<std::string> known;
    for (const VocabularyCorrection& correction : list)
        known.insert(lowercased(correction.correct));
    for (const VocabularySeeds::Correction& seed : seeds.corrections)
        if (!known.contains(lowercased(seed.correct))) list.push_back({newUuid(), seed.variants, seed.correct});
    save(std::move(list));
}

VocabularyList::Corrections VocabularyList::stored() {
    if (!preferences.value(listKey)) return {};
    const auto json = preferences.json(listKey);
    if (auto list = json ? vocabularyIn(*json) : std::nullopt) return std::move(*list);
    logger.error("The list of corrections cannot be read and counts as empty");
    isStoredUnreadable = true;
    return {};
}

void VocabularyList::addCorrection(std::vector<std::string> variants, std::string correct) {
    Corrections list = loadVocabularyCorrections();
    list.push_back({newUuid(), std::move(variants), std::move(correct)});
    save(std::move(list));
}

bool VocabularyList::updateCorrection(std::string_view id, std::vector<std::string> variants, std::string correct) {
    Corrections list = loadVocabularyCorrections();
    const auto found = std::ranges::find(list, id, &VocabularyCorrection::id);
    if (found == list.end()) return false;
    found->variants = std::move(variants);
    found->correct = std::move(correct);
    save(std::move(list));
    return true;
}

void VocabularyList::deleteCorrection(std::string_view id) {
    Corrections list = loadVocabularyCorrections();
    if (std::erase_if(list, [&](const VocabularyCorrection& each) { return each.id == id; }) > 0) save(std::move(list));
}

void VocabularyList::save(Corrections list) {
    if (isStoredUnreadable && !keepAside()) return;
    preferences.set(listKey, JsonData{vocabularyJson(list)});
    preferences.set(firstSeedKey, true);
    corrections = std::move(list);
    compiled.reset();
}

/// False when there is no place left for it: then nothing is put in its place either.
bool VocabularyList::keepAside() {
    const auto value = preferences.value(listKey);
    for (int number = 1; value && number <= mostKeptAside; ++number) {
        const std::string key = std::string(listKey) + ".damaged" + (number == 1 ? "" : "-" + std::to_string(number));
        const auto kept = preferences.value(key);
        if (kept && kept != value) continue;
        preferences.set(key, *value);
        logger.warning("The former list of corrections is kept as {}", key);
        isStoredUnreadable = false;
        return true;
    }
    if (value) logger.error("There are too many damaged lists of corrections already: the change is not kept");
    return !value;
}

std::shared_ptr<const VocabularyCorrector> VocabularyList::corrector() {
    const Corrections& list = loadVocabularyCorrections();
    if (!compiled) compiled = std::make_shared<const VocabularyCorrector>(list);
    return compiled;
}

} // namespace tavrin
