#include "meeting/RecoveringPipeline.h"

#include "meeting/ModelCacheGuard.h"
#include "meeting/WhisperTranscriptionError.h"
#include "support/log/Log.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

namespace tavrin {

namespace {

constexpr Logger logger{"RecoveringPipeline"};

constexpr std::array<std::string_view, 5> cacheErrorWords{"mpsgraph", "e5rt", "e5bundlecache", "no such file",
                                                          "cannot open input file"};

} // namespace

bool isRuntimeCacheError(const std::exception& error) {
    const std::string text = lowercased(error.what());
    return std::ranges::any_of(cacheErrorWords, [&](std::string_view word) { return text.contains(word); });
}

RecoveringPipeline::RecoveringPipeline(Options wanted, SpeechModelCache& modelCache, ModelCacheGuard& guard)
    : options(std::move(wanted)), models(modelCache), cacheGuard(guard) {}

void RecoveringPipeline::ensureLoaded(const std::filesystem::path& folder) {
    if (speechPipeline) return;
    std::error_code error;
    if (!std::filesystem::exists(folder, error))
        throw WhisperTranscriptionError(WhisperTranscriptionError::Reason::notInstalled);
    modelFolder = folder;
    if (options.preferCPUOnly) return load(Compute::processorAlone);
    if (tryLoad(Compute::standard)) return;
    if (!didClearRuntimeCacheThisLaunch) clearRuntimeCache();
    if (tryLoad(Compute::standard)) return;
    load(Compute::processorAlone);
}

std::string RecoveringPipeline::perform(const Use& use, const std::stop_token& stop) {
    if (!speechPipeline) throw WhisperTranscriptionError(WhisperTranscriptionError::Reason::notLoaded);
    while (true) {
        try {
            return use(*speechPipeline);
        } catch (const std::exception& error) {
            if (stop.stop_requested() || !isRuntimeCacheError(error)) throw;
            if (!recover()) throw;
        }
    }
}

bool RecoveringPipeline::recover() {
    if (!didClearRuntimeCacheThisLaunch) {
        clearRuntimeCache();
        drop();
        ensureLoaded(modelFolder);
        return true;
    }
    if (usingCPUFallback()) return false;
    drop();
    load(Compute::processorAlone);
    return true;
}

void RecoveringPipeline::clearRuntimeCache() {
    didClearRuntimeCacheThisLaunch = true;
    (void)cacheGuard.clear(); // what follows is tried in any case
}

void RecoveringPipeline::load(Compute compute) {
    const bool isOnProcessor = compute == Compute::processorAlone;
    speechPipeline.emplace(SpeechPipelineConfig{.model = options.modelVariant,
                                                .modelFolder = modelFolder,
                                                .computeOptions = isOnProcessor ? ModelComputeOptions::onProcessor()
                                                                                : ModelComputeOptions{},
                                                .threads = options.threads},
                           models);
    onProcessorAlone = isOnProcessor;
    loadedThisLaunch = true;
}

void RecoveringPipeline::prepare() noexcept {
    if (!speechPipeline) return;
    try {
        speechPipeline->prepare();
    } catch (const std::exception& error) {
        logger.warning("The speech model could not be warmed up: {}", error.what());
    }
}

bool RecoveringPipeline::tryLoad(Compute compute) {
    try {
        load(compute);
        return true;
    } catch (const std::exception&) {
        return false; // the next try has the last word
    }
}

/// Others may hold these models, too: what is loaded next is read anew and not what they hold.
void RecoveringPipeline::drop() {
    models.forget(speechPipeline->models());
    speechPipeline.reset();
    loadedThisLaunch = false;
    onProcessorAlone = false;
}

} // namespace tavrin
