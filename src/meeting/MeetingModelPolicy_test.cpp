#include "meeting/EngineTestSupport.h"
#include "meeting/MeetingModelPolicy.h"
#include "meeting/ModelFolderResolver.h"
#include "meeting/PcmSamples.h"
#include "speech/ModelFolders.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto decoder = "TextDecoder.onnx";

TEST(MeetingEngineChoice, the_small_model_serves_both_lanes_where_there_is_one_each_by_its_own_engine) {
    using enum MeetingEngine;
    // By small model installed, small loaded, them loaded, large loaded: what Me gets, what Them gets.
    const std::vector<std::pair<MeetingEngine, MeetingEngine>> expected{
        {large, large},         // nothing
        {large, large},         // large
        {large, them},          // them
        {large, them},          // them, large
        {dictation, dictation}, // small
        {dictation, large},     // small, large
        {dictation, them},      // small, them, and so on
    };
    for (unsigned bits = 0; bits < 16; ++bits) {
        const auto& [me, other] = expected[std::min<std::size_t>(bits, expected.size() - 1)];
        const MeetingEngineState state{.isSmallEnInstalled = (bits & 8U) != 0,
                                       .smallEngineLoaded = (bits & 4U) != 0,
                                       .themEngineLoaded = (bits & 2U) != 0,
                                       .largeEngineLoaded = (bits & 1U) != 0};
        EXPECT_EQ(engineForMeLane(state), me) << bits;
        EXPECT_EQ(engineForThemLane(state), other) << bits;
    }
}

TEST(PcmSamples, sixteen_bit_little_endian_becomes_minus_one_to_one_without_an_odd_byte) {
    using std::string_view_literals::operator""sv;
    EXPECT_THAT(samplesOfPcm(std::as_bytes(std::span("\x00\x80\xff\x7f\x00\x40\xff\xff\x12"sv))),
                ElementsAre(-1.0F, 32'767.0F / 32'768.0F, 0.5F, -1.0F / 32'768.0F));
}

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
            .preloadDiarizer = [this] { log.emplace_back("preload"); }});
    }
    void uninstallSmall() { std::filesystem::remove_all(modelFolder); }
    void installLarge() { model.install(disk.path() / "OnDeviceModels" / "openai_whisper-large_turbo"); }

    /// What the policy has logged since the last call.
    std::vector<std::string> words() {
        std::vector<std::string> fresh;
        for (const auto& line : logged.lines())
            if (line.starts_with("MeetingModelPolicy")) fresh.push_back(line.substr(line.find(": ") + 2));
        fresh.erase(fresh.begin(), fresh.begin() + static_cast<std::ptrdiff_t>(wordsSeen));
        wordsSeen += fresh.size();
        return fresh;
    }

    Executor& largeWorker = time.addExecutor();
    Executor& dictationWorker = time.addExecutor();
    Executor& themWorker = time.addExecutor();
    std::unique_ptr<ModelFolderResolver> folders;
    std::unique_ptr<MeetingModelPolicy> policy;
    std::size_t wordsSeen = 0;
};

TEST_F(MeetingModelPolicyTest, a_meeting_uses_the_small_model_and_loads_it_once_however_often_it_is_asked) {
    make();
    caches.limitCapacity(1'000'000'000);
    EXPECT_EQ(endOf(policy->ensureMeetingModelLoadedSilently()), "done");
    EXPECT_THAT(words(), IsEmpty());
    EXPECT_FALSE(hasCache());
    tasks->spawn(policy->ensureMeetingModelLoaded());
    tasks->spawn(policy->ensureMeetingModelLoaded());
    EXPECT_EQ(endOf(policy->ensureThemEngineLoaded()), "done");
    EXPECT_EQ(runtime.loadCount(decoder), 1);
    EXPECT_NE(&policy->engineForMe(), &policy->engineForThem());
    EXPECT_TRUE(policy->engineForMe().isLoaded() && policy->engineForThem().isLoaded());
    EXPECT_TRUE(policy->engineForMe().usingCPUFallback());
    EXPECT_FALSE(policy->largeEngineLoaded());
    const auto* line = "Meeting capture using small.en for live + archive.";
    EXPECT_THAT(words(), ElementsAre(line, line));
}

TEST_F(MeetingModelPolicyTest, without_the_small_model_the_large_one_serves_meetings_if_it_is_offered_and_there) {
    make();
    uninstallSmall();
    EXPECT_EQ(endOf(policy->ensureThemEngineLoaded()), "done");
    EXPECT_FALSE(policy->themEngineLoaded());
    EXPECT_EQ(endOf(policy->ensureMeetingModelLoaded()), "Speech model is not installed.");
    installLarge();
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(endOf(policy->ensureMeetingModelLoaded()), "done");
    EXPECT_TRUE(policy->largeEngineLoaded());
    EXPECT_EQ(&policy->engineForMe(), &policy->engineForThem());
    EXPECT_FALSE(policy->engineForMe().usingCPUFallback());
    EXPECT_THAT(words(), ElementsAre("Meeting Whisper model ready.",
                                     "Meeting capture using large model (small.en not installed)."));
    make({.smallVariant = "base"});
    EXPECT_EQ(endOf(policy->ensureMeetingModelLoaded()), "Speech model is not installed.");
}

TEST_F(MeetingModelPolicyTest, the_launch_tries_again_after_3_s_and_no_third_time) {
    make();
    runtime.failNextLoads(decoder, {"first", "second", "third"});
    tasks->spawn(policy->loadDictationEngineAtLaunch());
    time.advance(2'999ms);
    EXPECT_THAT(words(), ElementsAre("Dictation model failed to load at launch: first"));
    EXPECT_EQ(runtime.loadCount(decoder), 1);
    time.advance(1ms);
    EXPECT_THAT(words(), ElementsAre("Dictation model retry failed: second"));
    time.advance(1h);
    EXPECT_EQ(runtime.loadCount(decoder), 2);

    tasks->spawn(policy->loadDictationEngineAtLaunch());
    time.advance(3s);
    EXPECT_THAT(words(), ElementsAre("Dictation model failed to load at launch: third",
                                     "Dictation Whisper model loaded after retry."));
    EXPECT_TRUE(policy->smallEngineLoaded());
    EXPECT_THAT(log, IsEmpty());
    tasks->spawn(policy->loadDictationEngineAtLaunch());
    time.runUntilIdle();
    EXPECT_THAT(words(), ElementsAre("Dictation Whisper model loaded at launch."));
    EXPECT_THAT(log, ElementsAre("preload"));
}

TEST_F(MeetingModelPolicyTest, the_background_load_rests_while_a_capture_runs) {
    make();
    uninstallSmall();
    policy->scheduleBackgroundMeetingModelLoad();
    policy->scheduleBackgroundMeetingModelLoad();
    time.runUntilIdle();
    EXPECT_THAT(words(), ElementsAre("Background meeting model load failed: Speech model is not installed."));

    installLarge();
    policy->scheduleBackgroundMeetingModelLoad();
    policy->suspendBackgroundMeetingModelLoad();
    policy->scheduleBackgroundMeetingModelLoad();
    time.runUntilIdle();
    EXPECT_EQ(runtime.loadCount(decoder), 0);
    EXPECT_THAT(words(), ElementsAre("Suspended background meeting-model load for capture."));

    policy->resumeBackgroundMeetingModelLoadAfterMeeting();
    time.runUntilIdle();
    EXPECT_TRUE(policy->largeEngineLoaded());
    EXPECT_THAT(words(), ElementsAre("Meeting Whisper model ready."));
    policy->scheduleBackgroundMeetingModelLoad();
    time.runUntilIdle();
    EXPECT_THAT(words(), IsEmpty());
}

TEST_F(MeetingModelPolicyTest, a_load_that_was_suspended_in_the_middle_is_taken_up_where_it_got_to) {
    uninstallSmall();
    installLarge();
    make();
    time.stall(largeWorker, 1s);
    policy->scheduleBackgroundMeetingModelLoad();
    time.runUntilIdle();
    policy->suspendBackgroundMeetingModelLoad();
    time.advance(1s);
    EXPECT_FALSE(policy->largeEngineLoaded());
    policy->resumeBackgroundMeetingModelLoadAfterMeeting();
    time.runUntilIdle();
    EXPECT_TRUE(policy->largeEngineLoaded());
    EXPECT_EQ(runtime.loadCount(decoder), 1);
}

TEST_F(MeetingModelPolicyTest, the_large_model_is_not_loaded_in_the_background_where_it_is_not_needed) {
    installLarge();
    make();
    policy->resumeBackgroundMeetingModelLoadAfterMeeting();
    EXPECT_THAT(words(), ElementsAre("Skipped post-meeting large-model prewarm (small.en handles archive)."));
    policy->scheduleBackgroundMeetingModelLoad(); // as at launch
    time.runUntilIdle();
    EXPECT_EQ(runtime.loadCount(decoder), 0);
    make({.smallVariant = "base"});
    policy->scheduleBackgroundMeetingModelLoad();
    time.runUntilIdle();
    EXPECT_EQ(runtime.loadCount(decoder), 0);
    EXPECT_THAT(words(), IsEmpty());
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
