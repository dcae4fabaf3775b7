#pragma once

#include "meeting/ModelCacheGuard.h"
#include "meeting/WhisperTranscriptionEngine.h"
#include "platform/fake/FakePreferences.h"
#include "speech/SpeechModelTestSupport.h"
#include "speech/SpeechModels.h"
#include "support/async/TaskTestSupport.h"
#include "support/files/MemoryFolder.h"
#include "support/files/TemporaryFolderTestSupport.h"
#include "support/log/LogCapture.h"

namespace tavrin {

/// What engines need, in virtual time, with the scripted model in the place where "base" is looked for.
class EngineTest : public TaskTest {
protected:
    EngineTest() { fillCache(); }
    ~EngineTest() override { tasks->clear(); }

    void fillCache() {
        caches.makeFolders(ModelCacheGuard::cacheName);
        caches.writeAtomically(std::string(ModelCacheGuard::cacheName) + "/graph", "optimised");
    }
    [[nodiscard]] bool hasCache() const { return caches.info(ModelCacheGuard::cacheName).has_value(); }

    WhisperTranscriptionEngine::Dependencies engineOn(Executor& worker) { return engineOn(worker, time.main()); }
    WhisperTranscriptionEngine::Dependencies engineOn(Executor& worker, Executor& main) {
        return {.main = main,
                .worker = worker,
                .models = models,
                .cacheGuard = guard,
                .preferences = preferences,
                .resolveModelFolder = [this] { return std::optional(modelFolder); }};
    }

    /// How a task ends that needs no time: its text, "done" when it has none, or what it throws.
    std::string endOf(Task<void> task) { return endOf(endingText(std::move(task))); }
    std::string endOf(Task<std::string> task) {
        std::string end = "pending";
        tasks->spawn(keepEnd(std::move(task), end));
        time.runUntilIdle();
        return end;
    }

    static Task<std::string> endingText(Task<void> task) {
        co_await std::move(task);
        co_return "done";
    }

    /// The same without running it yet.
    static Task<void> keepEnd(Task<std::string> task, std::string& end) {
        try {
            end = co_await std::move(task);
        } catch (const std::exception& error) {
            end = error.what();
        }
    }

    LogCapture logged;
    TemporaryFolder disk;
    FakeModelRuntime runtime;
    ScriptedSpeechModel model{runtime};
    std::filesystem::path modelFolder = model.install(disk.path() / "OnDeviceModels" / "openai_whisper-base");
    SpeechModelCache models{runtime};
    MemoryFolder caches;
    ModelCacheGuard guard{caches};
    FakePreferences preferences;
};

} // namespace tavrin
