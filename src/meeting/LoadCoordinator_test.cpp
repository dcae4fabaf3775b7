#include "meeting/EngineTestSupport.h"
#include "meeting/LoadCoordinator.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;

class LoadCoordinatorTest : public EngineTest {
protected:
    [[nodiscard]] int loads() const { return runtime.loadCount("TextDecoder.onnx"); }

    /// Asks for the engine; how that ended stands in `end` later.
    TaskHandle ask(std::string& end) {
        end.clear();
        return tasks->spawn(keepEnd(endingText(coordinator.ensureLoaded()), end));
    }

    Executor& worker = time.addExecutor();
    WhisperTranscriptionEngine engine{{.modelVariant = "base", .preferCPUOnly = true}, engineOn(worker)};
    LoadCoordinator coordinator{time.main(), engine};
};

TEST_F(LoadCoordinatorTest, callers_at_once_share_a_load_and_its_failure_which_the_next_caller_tries_again) {
    std::string first, second, third;
    runtime.failNextLoads("TextDecoder.onnx", {"no memory"});
    time.stall(worker, 1s);
    ask(first);
    time.advance(500ms);
    ask(second);
    time.advance(400ms);
    EXPECT_EQ(first + second, "");
    time.advance(100ms);
    EXPECT_EQ(first, "no memory");
    EXPECT_EQ(second, "no memory");
    EXPECT_EQ(loads(), 1);
    for (std::string* end : {&first, &second, &third})
        ask(*end);
    time.runUntilIdle();
    EXPECT_EQ(first + second + third, "donedonedone");
    EXPECT_EQ(endOf(coordinator.ensureLoaded()), "done");
    EXPECT_EQ(loads(), 2);
}

TEST_F(LoadCoordinatorTest, a_cancelled_caller_leaves_the_load_to_the_others) {
    std::string first, second;
    time.stall(worker, 1s);
    TaskHandle caller = ask(first);
    ask(second);
    time.runUntilIdle();
    caller.cancel();
    time.advance(1s);
    EXPECT_EQ(first, "");
    EXPECT_EQ(second, "done");
    EXPECT_EQ(loads(), 1);
}

TEST_F(LoadCoordinatorTest, an_engine_that_lost_its_models_is_loaded_again) {
    ASSERT_EQ(endOf(coordinator.ensureLoaded()), "done");
    runtime.failNextRuns("TextDecoder.onnx", {"e5rt"});
    runtime.failNextLoads("TextDecoder.onnx", {"no memory"});
    ASSERT_EQ(endOf(engine.transcribe(ScriptedSpeechModel::speech(), true)), "no memory");
    EXPECT_EQ(endOf(coordinator.ensureLoaded()), "done");
    EXPECT_TRUE(engine.isLoaded());
}

} // namespace
} // namespace tavrin
