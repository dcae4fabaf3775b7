#include "app/Services.h"
#include "speech/SpeechModelTestSupport.h"
#include "support/async/SerialExecutor.h"
#include "support/files/TemporaryFolderTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <semaphore>

namespace tavrin {
namespace {

using namespace std::chrono_literals;

struct Signals {
    std::binary_semaphore isLoading{0};
    std::binary_semaphore isGone{0};
    std::atomic<bool> wentUnderLoad = false;
    std::atomic<int> loads = 0; // that have ended
};

/// Gives its destruction time to happen under a load, which fails in the end.
class HangingRuntime final : public ModelRuntime {
public:
    explicit HangingRuntime(Signals& told) : signals(told) {}
    ~HangingRuntime() override { signals.isGone.release(); }

    [[nodiscard]] std::shared_ptr<ModelGraph> load(const std::filesystem::path& /*file*/, int /*threads*/) override {
        Signals& told = signals;
        told.isLoading.release();
        if (told.isGone.try_acquire_for(200ms)) told.wentUnderLoad = true;
        ++told.loads;
        throw ModelRuntimeError("too late");
    }

private:
    Signals& signals;
};

TEST(Services, what_a_running_load_uses_outlives_it_when_the_program_quits) {
    const TemporaryFolder home;
    const XdgFolders folders([&](const char* name) -> std::optional<std::string> {
        if (std::string_view(name) == "HOME") return home.path().string();
        return std::nullopt;
    });
    FakeModelRuntime unused;
    ScriptedSpeechModel(unused).install(folders.documents() / "OnDeviceModels" / "openai_whisper-base");
    ThreadPool threads(1, "main");
    SerialExecutor main(threads);
    Signals signals;
    std::optional<Services> services;
    main.runAndWait([&] {
        services.emplace(main, folders, Deployment{}, [&] { return std::make_unique<HangingRuntime>(signals); });
        services->startBackgroundServices();
    });
    ASSERT_TRUE(signals.isLoading.try_acquire_for(20s));
    main.runAndWait([&] { services.reset(); });
    EXPECT_EQ(signals.loads, 1);
    EXPECT_FALSE(signals.wentUnderLoad);
}

} // namespace
} // namespace tavrin
