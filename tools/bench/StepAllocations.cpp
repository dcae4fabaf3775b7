#include "bench/StepAllocations.h"

#include "bench/AllocationCount.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/SpeechAudio.h"
#include "speech/TranscribeTask.h"

#include <algorithm>

namespace tavrin {

namespace {

/// Allocations between the runs of one graph by one caller. What happens in a run is the runtime's and does not count.
struct RunLog {
    struct Gap {
        std::uint64_t allocations;
        bool isRebound;
    };
    /// One list per caller, that is per window and attempt.
    std::vector<std::vector<Gap>> callers;
};

class CountingRun final : public ModelRun {
public:
    CountingRun(std::unique_ptr<ModelRun> decorated, RunLog& kept) : inner(std::move(decorated)), log(kept) {
        log.callers.emplace_back().reserve(1000);
        before = AllocationCount::ofThisThread();
    }
    void bindInput(std::size_t index, const void* data, std::size_t bytes,
                   std::span<const std::int64_t> shape) override {
        isRebound = true;
        inner->bindInput(index, data, bytes, shape);
    }
    void bindOutput(std::size_t index, void* data, std::size_t bytes, std::span<const std::int64_t> shape) override {
        isRebound = true;
        inner->bindOutput(index, data, bytes, shape);
    }
    void run() override {
        log.callers.back().push_back({AllocationCount::ofThisThread() - before, isRebound});
        isRebound = false;
        {
            const AllocationCount::Pause pause;
            inner->run();
        }
        before = AllocationCount::ofThisThread();
    }

private:
    std::unique_ptr<ModelRun> inner;
    RunLog& log;
    std::uint64_t before = 0;
    bool isRebound = false;
};

class CountingGraph final : public ModelGraph {
public:
    CountingGraph(std::shared_ptr<ModelGraph> decorated, RunLog& kept) : inner(std::move(decorated)), log(kept) {}
    [[nodiscard]] const std::vector<TensorInfo>& inputs() const override { return inner->inputs(); }
    [[nodiscard]] const std::vector<TensorInfo>& outputs() const override { return inner->outputs(); }
    [[nodiscard]] std::unique_ptr<ModelRun> newRun() const override {
        return std::make_unique<CountingRun>(inner->newRun(), log);
    }

private:
    std::shared_ptr<ModelGraph> inner;
    RunLog& log;
};

/// Counts in the decoder; other graphs run as they are.
class CountingRuntime final : public ModelRuntime {
public:
    CountingRuntime(ModelRuntime& decorated, RunLog& kept) : inner(decorated), log(kept) {}
    std::shared_ptr<ModelGraph> load(const std::filesystem::path& file, int threads) override {
        auto graph = inner.load(file, threads);
        if (file.stem() != "TextDecoder") return graph;
        return std::make_shared<CountingGraph>(std::move(graph), log);
    }

private:
    ModelRuntime& inner;
    RunLog& log;
};

/// The start token, the rest of the prompt, and the first token with all that is set up once.
constexpr std::size_t gapsOfSetUp = 3;

} // namespace

StepAllocations countStepAllocations(const std::filesystem::path& pack, std::span<const float> speech,
                                     bool wordTimestamps) {
    RunLog log;
    OnnxModelRuntime onnx;
    CountingRuntime runtime(onnx, log);
    const SpeechModels models(runtime, pack, 1);
    DecodingOptions options;
    options.language = "en";
    options.wordTimestamps = wordTimestamps;
    options.temperatureFallbackCount = 0;
    (void)TranscribeTask(models).run(speech.first(std::min(speech.size(), speechWindowSamples)), options);
    StepAllocations found;
    for (const auto& gaps : log.callers) {
        for (std::size_t i = gapsOfSetUp; i < gaps.size(); ++i) {
            const auto& [allocations, isRebound] = gaps[i];
            ++found.steps;
            found.allocations += allocations;
            if (!isRebound) continue;
            ++found.growths;
            found.growthAllocations += allocations;
        }
    }
    return found;
}

} // namespace tavrin
