#include "meeting/EngineTestSupport.h"
#include "meeting/MeetingModelPolicy.h"
#include "meeting/ModelFolderResolver.h"
#include "speech/ModelFolders.h"

#include <cerrno>

namespace tavrin {
namespace {

using namespace std::chrono_literals;

constexpr auto decoder = "TextDecoder.onnx";

class MeetingModelPolicyTest : public EngineTest {
protected:
    /// Both roles offered; the small model is the scripted one that is installed.
    void make(const ModelDeployment& deployment = {.smallVariant = "base", .largeVariant = "large"}) {
        policy.reset();
        folders =
            std::make_unique<ModelFolderResolver>(preferences, deployment, modelSearchRoots(disk.path(), disk.path()));
        policy = std::make_unique<MeetingModelPolicy>(MeetingModelPolicy::Dependencies{
            .main = time.main(),
            .workers = {.large = largeWorker, .dictation = dictationWorker, .them = themWorker},
            .folders = *folders,
            .models = models,
            .cacheGuard = guard,
            .preferences = preferences,
            .preloadDiarizer = {}});
    }
    void uninstallSmall() { std::filesystem::remove_all(modelFolder); }
    void installLarge() { model.install(disk.path() / "OnDeviceModels" / "openai_whisper-large_turbo"); }

    [[nodiscard]] int loads() const { return runtime.loadCount(decoder); }

    Executor& largeWorker = time.addExecutor();
    Executor& dictationWorker = time.addExecutor();
    Executor& themWorker = time.addExecutor();
    std::unique_ptr<ModelFolderResolver> folders;
    std::unique_ptr<MeetingModelPolicy> policy;
};

TEST_F(MeetingModelPolicyTest, a_meeting_uses_the_small_model_alone_and_loads_it_once_however_often_it_is_asked) {
    installLarge();
    make();
    policy->scheduleBackgroundMeetingModelLoad(); // as at launch
    policy->resumeBackgroundMeetingModelLoadAfterMeeting();
    caches.limitCapacity(1'000'000'000);
    EXPECT_EQ(endOf(policy->ensureMeetingModelLoadedSilently()), "done");
    EXPECT_FALSE(hasCache());
    tasks->spawn(policy->ensureMeetingModelLoaded());
    tasks->spawn(policy->ensureMeetingModelLoaded());
    EXPECT_EQ(endOf(policy->ensureThemEngineLoaded()), "done");
    EXPECT_EQ(loads(), 1);
    EXPECT_NE(&policy->engineForMe(), &policy->engineForThem());
    EXPECT_TRUE(policy->engineForMe().isLoaded() && policy->engineForThem().isLoaded());
    EXPECT_TRUE(policy->engineForMe().usingCPUFallback());
    EXPECT_FALSE(policy->largeEngineLoaded());
    uninstallSmall();
    EXPECT_TRUE(policy->engineForMe().isLoaded() && policy->engineForThem().isLoaded()) << "what is loaded serves on";
}

TEST_F(MeetingModelPolicyTest, without_the_small_model_the_large_one_serves_meetings_if_it_is_offered_and_there) {
    make();
    uninstallSmall();
    EXPECT_EQ(endOf(policy->ensureThemEngineLoaded()), "done");
    EXPECT_FALSE(policy->themEngineLoaded());
    EXPECT_EQ(endOf(policy->ensureMeetingModelLoaded()), "Speech model is not installed.");
    installLarge();
    EXPECT_EQ(endOf(policy->ensureMeetingModelLoaded()), "done");
    EXPECT_TRUE(policy->largeEngineLoaded());
    EXPECT_EQ(&policy->engineForMe(), &policy->engineForThem());
    EXPECT_TRUE(policy->engineForMe().isLoaded());
    EXPECT_FALSE(policy->engineForMe().usingCPUFallback());
    make({.smallVariant = "base"});
    EXPECT_EQ(endOf(policy->ensureMeetingModelLoaded()), "Speech model is not installed.");
}

TEST_F(MeetingModelPolicyTest, callers_at_once_share_a_load_and_its_failure_and_one_may_be_cancelled) {
    make();
    std::string first, second;
    const auto ask = [&](std::string& end) {
        end.clear();
        return tasks->spawn(keepEnd(endingText(policy->ensureDictationModelLoaded()), end));
    };
    runtime.failNextLoads(decoder, {"no memory"});
    time.stall(dictationWorker, 1s);
    ask(first);
    time.advance(500ms);
    ask(second);
    time.advance(400ms);
    EXPECT_EQ(first + second, "");
    time.advance(100ms);
    EXPECT_EQ(first, "no memory");
    EXPECT_EQ(second, "no memory");
    EXPECT_EQ(loads(), 1);

    time.stall(dictationWorker, 1s);
    TaskHandle caller = ask(first);
    ask(second);
    time.runUntilIdle();
    caller.cancel();
    time.advance(1s);
    EXPECT_EQ(first, "");
    EXPECT_EQ(second, "done");
    EXPECT_EQ(loads(), 2);

    const auto transcription = [&] {
        return endOf(policy->engineForMe().transcribe(ScriptedSpeechModel::speech(), true));
    };
    runtime.failNextRuns(decoder, {"e5rt"});
    runtime.failNextLoads(decoder, {"gone"});
    EXPECT_EQ(transcription(), "gone") << "a recovery that failed";
    EXPECT_FALSE(policy->engineForMe().isLoaded());
    EXPECT_EQ(transcription(), "Speech model is not loaded.");
    EXPECT_EQ(endOf(policy->ensureDictationModelLoaded()), "done");
    EXPECT_TRUE(policy->engineForMe().isLoaded());
}

TEST_F(MeetingModelPolicyTest, below_2_000_000_000_free_bytes_the_cache_goes_and_nothing_else) {
    constexpr std::uint64_t inCache = std::string_view("optimised").size();
    caches.writeAtomically("other", "");
    caches.limitCapacity(2'000'000'000 + inCache);
    guard.run();
    EXPECT_TRUE(hasCache());
    caches.limitCapacity(1'999'999'999 + inCache);
    caches.failNext(MemoryFolder::Step::remove, EACCES);
    guard.run();
    EXPECT_FALSE(logged.contains("Cleared"));
    caches.failNext(MemoryFolder::Step::remove, EACCES);
    EXPECT_FALSE(guard.clear());
    guard.run();
    EXPECT_TRUE(logged.contains("Cleared"));
    EXPECT_THAT(caches.list(""), testing::ElementsAre("other"));
    EXPECT_TRUE(guard.clear()) << "nothing to remove";
}

TEST_F(MeetingModelPolicyTest, the_launch_tries_again_after_3_s_and_no_third_time) {
    make();
    runtime.failNextLoads(decoder, {"first", "second", "third"});
    tasks->spawn(policy->loadDictationEngineAtLaunch());
    time.advance(2'999ms);
    EXPECT_EQ(loads(), 1);
    time.advance(1ms);
    EXPECT_TRUE(logged.contains("Dictation model retry failed: second"));
    time.advance(1h);
    EXPECT_EQ(loads(), 2);

    tasks->spawn(policy->loadDictationEngineAtLaunch());
    time.advance(3s);
    EXPECT_EQ(loads(), 4);
    EXPECT_TRUE(policy->smallEngineLoaded());
}

TEST_F(MeetingModelPolicyTest, the_background_load_rests_while_a_capture_runs_and_is_taken_up_where_it_got_to) {
    make();
    uninstallSmall();
    policy->scheduleBackgroundMeetingModelLoad();
    time.runUntilIdle();
    EXPECT_TRUE(logged.contains("Background meeting model load failed: Speech model is not installed."));

    installLarge();
    policy->scheduleBackgroundMeetingModelLoad();
    policy->suspendBackgroundMeetingModelLoad();
    policy->scheduleBackgroundMeetingModelLoad();
    time.runUntilIdle();
    EXPECT_EQ(loads(), 0);

    time.stall(largeWorker, 1s);
    policy->resumeBackgroundMeetingModelLoadAfterMeeting();
    time.runUntilIdle();
    policy->suspendBackgroundMeetingModelLoad(); // in the middle
    time.advance(1s);
    EXPECT_FALSE(policy->largeEngineLoaded());
    policy->resumeBackgroundMeetingModelLoadAfterMeeting();
    time.runUntilIdle();
    EXPECT_TRUE(policy->largeEngineLoaded());
    EXPECT_EQ(loads(), 1);
}

TEST_F(MeetingModelPolicyTest, a_dictation_needs_its_model_and_samples) {
    make();
    const std::vector<std::byte> loud(16'000, std::byte{0x40}); // half a second
    EXPECT_EQ(endOf(policy->transcribeDictation(loud)), "Speech model is not loaded.");
    ASSERT_EQ(endOf(policy->ensureDictationModelLoaded()), "done");
    model.say({"the color"});
    EXPECT_EQ(endOf(policy->transcribeDictation({})), "");
    EXPECT_EQ(endOf(policy->transcribeDictation({std::byte{1}})), "");
    EXPECT_EQ(runtime.runCount("SpeechGate.onnx"), 0);
    EXPECT_EQ(endOf(policy->transcribeDictation(loud)), "the colour");
}

} // namespace
} // namespace tavrin
