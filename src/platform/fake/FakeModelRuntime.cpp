#include "platform/fake/FakeModelRuntime.h"

#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace tavrin {

namespace {

/// The next of the errors that something is to end with.
std::optional<std::string> takeFirst(std::deque<std::string>& texts) {
    if (texts.empty()) return std::nullopt;
    auto text = std::move(texts.front());
    texts.pop_front();
    return text;
}

void checkShape(const TensorInfo& declared, std::size_t bytes, std::span<const std::int64_t> shape) {
    bool fits = shape.size() == declared.shape.size();
    std::size_t elements = 1;
    for (std::size_t axis = 0; fits && axis < shape.size(); ++axis) {
        fits = declared.shape[axis] == -1 || declared.shape[axis] == shape[axis];
        elements *= static_cast<std::size_t>(shape[axis]);
    }
    if (!fits || elements * elementSize(declared.type) != bytes)
        throw ModelRuntimeError("\"" + declared.name + "\" is bound in another form than declared");
}

} // namespace

/// What the tests have told and what was counted; graphs and runs share it and may outlive the runtime.
struct FakeModelRuntime::Scripts {
    struct Script {
        std::optional<Graph> graph;
        std::deque<std::string> loadErrors, runErrors;
        int loads = 0, runs = 0;
    };

    std::mutex lock;
    std::map<std::string, Script> byFile;
};

class FakeModelRuntime::Run final : public ModelRun {
public:
    Run(std::shared_ptr<Scripts> sharedScripts, std::string fileName, Graph boundGraph)
        : scripts(std::move(sharedScripts)), file(std::move(fileName)), graph(std::move(boundGraph)) {}

    void bindInput(std::size_t index, const void* data, std::size_t bytes,
                   std::span<const std::int64_t> shape) override {
        const TensorInfo& feature = graph.inputs.at(index);
        checkShape(feature, bytes, shape);
        tensors.inputs[feature.name] = {const_cast<void*>(data), bytes}; // handed out as constant only
    }

    void bindOutput(std::size_t index, void* data, std::size_t bytes, std::span<const std::int64_t> shape) override {
        const TensorInfo& feature = graph.outputs.at(index);
        checkShape(feature, bytes, shape);
        tensors.outputs[feature.name] = {data, bytes};
    }

    void run() override {
        {
            const std::scoped_lock guard(scripts->lock);
            auto& script = scripts->byFile[file];
            ++script.runs;
            if (const auto error = takeFirst(script.runErrors)) throw ModelRuntimeError(*error);
        }
        graph.compute(tensors);
    }

private:
    std::shared_ptr<Scripts> scripts;
    std::string file;
    Graph graph;
    Tensors tensors;
};

class FakeModelRuntime::LoadedGraph final : public ModelGraph {
public:
    LoadedGraph(std::shared_ptr<Scripts> sharedScripts, std::string fileName, Graph loaded)
        : scripts(std::move(sharedScripts)), file(std::move(fileName)), graph(std::move(loaded)) {}

    [[nodiscard]] const std::vector<TensorInfo>& inputs() const override { return graph.inputs; }
    [[nodiscard]] const std::vector<TensorInfo>& outputs() const override { return graph.outputs; }
    [[nodiscard]] std::unique_ptr<ModelRun> newRun() const override {
        return std::make_unique<Run>(scripts, file, graph);
    }

private:
    std::shared_ptr<Scripts> scripts;
    std::string file;
    Graph graph;
};

const FakeModelRuntime::Tensors::Bound& FakeModelRuntime::Tensors::bound(const Features& features,
                                                                         std::string_view name) {
    const auto found = features.find(name);
    if (found == features.end()) throw ModelRuntimeError("\"" + std::string(name) + "\" is not bound");
    return found->second;
}

FakeModelRuntime::FakeModelRuntime() : scripts(std::make_shared<Scripts>()) {}

FakeModelRuntime::~FakeModelRuntime() = default;

void FakeModelRuntime::addGraph(const std::string& fileName, Graph graph) {
    const std::scoped_lock guard(scripts->lock);
    scripts->byFile[fileName].graph = std::move(graph);
}

void FakeModelRuntime::failNextLoads(const std::string& fileName, std::vector<std::string> texts) {
    const std::scoped_lock guard(scripts->lock);
    scripts->byFile[fileName].loadErrors.assign(texts.begin(), texts.end());
}

void FakeModelRuntime::failNextRuns(const std::string& fileName, std::vector<std::string> texts) {
    const std::scoped_lock guard(scripts->lock);
    scripts->byFile[fileName].runErrors.assign(texts.begin(), texts.end());
}

int FakeModelRuntime::loadCount(const std::string& fileName) const {
    const std::scoped_lock guard(scripts->lock);
    return scripts->byFile[fileName].loads;
}

int FakeModelRuntime::runCount(const std::string& fileName) const {
    const std::scoped_lock guard(scripts->lock);
    return scripts->byFile[fileName].runs;
}

std::shared_ptr<ModelGraph> FakeModelRuntime::load(const std::filesystem::path& file, int) {
    if (onLoad) onLoad(file);
    const auto name = file.filename().string();
    const std::scoped_lock guard(scripts->lock);
    auto& script = scripts->byFile[name];
    ++script.loads;
    if (const auto error = takeFirst(script.loadErrors)) throw ModelRuntimeError(*error);
    if (!script.graph) throw ModelRuntimeError(file.string() + ": the test has no such graph");
    return std::make_shared<LoadedGraph>(scripts, name, *script.graph);
}

} // namespace tavrin
