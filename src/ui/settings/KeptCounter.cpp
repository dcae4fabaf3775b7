#include "ui/settings/KeptCounter.h"

#include "support/async/RunOn.h"

#include <stop_token>
#include <utility>

namespace tavrin {

KeptCounter::KeptCounter(Dependencies dependencies)
    : amounts(dependencies.main), use(std::move(dependencies)), tasks(use.main) {}

void KeptCounter::count(std::vector<std::filesystem::path> modelFolders) {
    models = std::move(modelFolders);
    counting.cancel();
    counting = tasks.spawn(countThem());
}

Task<void> KeptCounter::countThem() {
    const Folder& folder = use.applicationSupport;
    amounts = co_await runOn(use.storage,
                             [&folder, places = use.places, open = use.openMeeting(), modelFolders = models](
                                 const std::stop_token&) { return countKept(folder, places, open, modelFolders); });
}

Task<bool> KeptCounter::deleteLeftAudio() {
    counting.cancel(); // it would come home with what was there before
    Folder& folder = use.applicationSupport;
    const StoredRecordings left =
        co_await runOn(use.storage, [&folder, open = use.openMeeting()](const std::stop_token&) {
            return tavrin::deleteLeftAudio(folder, open);
        });
    co_await countThem();
    co_return left.leftAudio == KeptAmounts::Amount();
}

} // namespace tavrin
