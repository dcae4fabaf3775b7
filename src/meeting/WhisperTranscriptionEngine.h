#pragma once

#include "meeting/ChunkText.h"
#include "meeting/RecoveringPipeline.h"
#include "support/async/Task.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {

class Executor;
class Preferences;

/// The door to speech recognition: one model, one transcription at a time, text as the user wants it spelled.
///
/// Thread:   main executor only (checked); the work is done on `worker`, in the order of the calls.
/// Owner:    its models, a share of what the cache of models holds.
/// Lifetime: everything in Dependencies outlives the work, which may go on after the engine: destroy the worker before
///           the rest, the engine before the worker.
/// Cancel:   cancelling a transcription returns at once and ends the decoding with the next token; a load that has
/// begun
///           goes on to its end.
class WhisperTranscriptionEngine final {
public:
    using Options = RecoveringPipeline::Options;
    struct Dependencies {
        Executor& main;
        Executor& worker;
        SpeechModelCache& models;
        ModelCacheGuard& cacheGuard;
        const Preferences& preferences;
        /// Where the model lies, asked before each load. Absent: it is not installed.
        std::function<std::optional<std::filesystem::path>()> resolveModelFolder;
    };

    WhisperTranscriptionEngine(Options options, Dependencies dependencies);

    /// Ends at once when the model is loaded. Throws WhisperTranscriptionError (`notInstalled`), and what the last try
    /// to load it throws: SpeechError, ModelRuntimeError.
    Task<void> ensureLoaded();

    /// The text of 16 kHz mono samples from -1 to 1, of any length; empty where nobody speaks. The preferences of
    /// language and spelling are those at the time of the call; a model that knows English alone takes all for English.
    ///
    /// A window whose probability of silence is above `noSpeechThreshold`, 0.6 if none is given, has no text.
    /// `suppressBlank` forbids a window to begin with a blank or to be empty. Throws WhisperTranscriptionError
    /// (`notLoaded`), SpeechError and ModelRuntimeError, all after the recoveries of RecoveringPipeline.
    Task<std::string> transcribe(std::vector<float> samples, bool suppressBlank,
                                 std::optional<float> noSpeechThreshold = std::nullopt);

    /// The same for one chunk of at most 25 s, with the times of its words.
    Task<ChunkText> transcribeWithWords(std::vector<float> samples, bool suppressBlank);

    [[nodiscard]] bool isLoaded() const noexcept { return pipeline->isLoaded(); }
    [[nodiscard]] bool usingCPUFallback() const noexcept { return pipeline->usingCPUFallback(); }

private:
    Dependencies use;
    std::shared_ptr<RecoveringPipeline> pipeline; // shared with the work
};

} // namespace tavrin
