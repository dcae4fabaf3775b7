#pragma once

#include "speech/SpeechPipeline.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

namespace tavrin {

class ModelCacheGuard;

/// A speech pipeline that gets over a broken cache of optimised models: by clearing it, and at last by going without,
/// on the processor alone.
///
/// Thread:   one at a time, that of the engine's work; `isLoaded` and `usingCPUFallback` from any.
/// Lifetime: `models` and `cacheGuard` outlive it.
/// Errors:   what the pipeline throws (SpeechError, ModelRuntimeError), and WhisperTranscriptionError.
class RecoveringPipeline final {
public:
    struct Options {
        std::string modelVariant; // for messages
        /// Loads on the processor at once and tries nothing else.
        bool preferCPUOnly = false;
        /// Processors that one window uses. Engines with the same number share the weights of a folder.
        int threads = 1;
    };
    /// Transcribes with the loaded pipeline; called anew after a recovery.
    using Use = std::function<std::string(SpeechPipeline&)>;

    RecoveringPipeline(Options options, SpeechModelCache& models, ModelCacheGuard& cacheGuard);

    /// Loads the models of `folder`. Does nothing when some are loaded. Blocks.
    ///
    /// A load that fails with the default compute options is tried again with them, the first time in this launch after
    /// clearing the cache, then on the processor alone. Throws only what the last try throws, and `notInstalled` when
    /// `folder` does not exist.
    void ensureLoaded(const std::filesystem::path& folder);

    /// Computes beforehand what the first transcription would else compute; for a moment in which nobody waits. Does
    /// nothing without models. Blocks. Throws nothing: what fails here fails again where it matters.
    void prepare() noexcept;

    /// Gives what `use` gives. Blocks. When it throws an error that speaks of the runtime's cache, loads the models
    /// anew and calls it again: once in a launch after clearing the cache, then on the processor alone unless they are
    /// there. Throws `notLoaded` without models, a failure to load them anew, and any other error of `use`. Once `stop`
    /// is told, nothing is tried again.
    std::string perform(const Use& use, const std::stop_token& stop);

    [[nodiscard]] bool isLoaded() const noexcept { return loadedThisLaunch; }
    /// The pipeline runs with the options of the processor alone.
    [[nodiscard]] bool usingCPUFallback() const noexcept { return onProcessorAlone; }

private:
    enum class Compute : std::uint8_t { standard, processorAlone };

    void load(Compute compute);
    bool tryLoad(Compute compute);
    void drop();
    /// False when nothing is left to try.
    bool recover();
    void clearRuntimeCache();

    // constant after construction
    const Options options;
    SpeechModelCache& models;
    ModelCacheGuard& cacheGuard;

    // of the working thread
    std::filesystem::path modelFolder;
    std::optional<SpeechPipeline> speechPipeline;
    bool didClearRuntimeCacheThisLaunch = false;

    // read by others
    std::atomic<bool> loadedThisLaunch = false;
    std::atomic<bool> onProcessorAlone = false;
};

/// Whether an error is one of the runtime's cache of compiled or optimised models, judged by its text.
bool isRuntimeCacheError(const std::exception& error);

} // namespace tavrin
