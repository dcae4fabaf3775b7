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
        return tasks->spawn([this, &end]() -> Task<void> {
            try {
                co_await coordinator.ensureLoaded();
                end = "loaded";
            } catch (const std::exception& error) {
                end = error.what();
            }
        });
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
    ask(first);
    ask(second);
    time.runUntilIdle();
    EXPECT_EQ(first, "loaded");
    EXPECT_EQ(second, "loaded");
    ask(third);
    time.runUntilIdle();
    EXPECT_EQ(third, "loaded");
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
    EXPECT_EQ(second, "loaded");
    EXPECT_EQ(loads(), 1);
}

TEST_F(LoadCoordinatorTest, an_engine_that_lost_its_models_is_loaded_again) {
    std::string end;
    ask(end);
    time.runUntilIdle();
    runtime.failNextRuns("TextDecoder.onnx", {"e5rt"});
    runtime.failNextLoads("TextDecoder.onnx", {"no memory"});
    ASSERT_EQ(endOf(engine.transcribe(ScriptedSpeechModel::speech(), true)), "no memory");
    end.clear();
    ask(end);
    time.runUntilIdle();
    EXPECT_EQ(end, "loaded");
    EXPECT_TRUE(engine.isLoaded());
}

} // namespace
} // namespace tavrin
