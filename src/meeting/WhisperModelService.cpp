#include "meeting/WhisperModelService.h"

#include "meeting/ModelFolderResolver.h"
#include "support/async/Sleep.h"

namespace tavrin {

WhisperModelService::WhisperModelService(Executor& mainExecutor, ModelFolderResolver& resolver)
    : state(mainExecutor), main(mainExecutor), folders(resolver) {}

Task<void> WhisperModelService::refresh() {
    state = Checking();
    co_await sleepFor(Duration::zero());
    state = relinkFolders() ? State(Ready()) : State(NeedsDownload());
}

Task<void> WhisperModelService::useInstalledModels() {
    return refresh();
}

bool WhisperModelService::relinkFolders() {
    expectCurrent(main);
    return folders.relinkFolders();
}

} // namespace tavrin
