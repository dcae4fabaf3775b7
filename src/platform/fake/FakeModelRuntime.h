#pragma once

#include "platform/ModelRuntime.h"

#include <any>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace tavrin {

/// Graphs that tests write as functions, loaded by the names of their files; the files themselves are not looked at.
///
/// Threads: as ModelRuntime; a graph's function is called by several threads at once when its runs are.
class FakeModelRuntime final : public ModelRuntime {
public:
    /// What one run has bound, by feature name.
    class Tensors final {
    public:
        /// Throws ModelRuntimeError if the feature is not declared or not bound.
        template <class Element>
        [[nodiscard]] std::span<const Element> input(std::string_view name) const {
            const Bound& found = bound(inputs, name);
            return {static_cast<const Element*>(found.data), found.bytes / sizeof(Element)};
        }
        template <class Element>
        [[nodiscard]] std::span<Element> output(std::string_view name) const {
            const Bound& found = bound(outputs, name);
            return {static_cast<Element*>(found.data), found.bytes / sizeof(Element)};
        }

        /// Belongs to the graph's function: kept from run to run of one ModelRun.
        std::any memory;

    private:
        friend class FakeModelRuntime;
        struct Bound {
            void* data = nullptr;
            std::size_t bytes = 0;
        };
        using Features = std::map<std::string, Bound, std::less<>>;

        [[nodiscard]] static const Bound& bound(const Features& features, std::string_view name);

        Features inputs, outputs;
    };

    struct Graph {
        std::vector<TensorInfo> inputs;
        std::vector<TensorInfo> outputs;
        /// Fills the outputs. What it throws comes out of ModelRun::run().
        std::function<void(Tensors&)> compute;
    };

    FakeModelRuntime();
    ~FakeModelRuntime() override;

    /// Gives `fileName`, such as "AudioEncoder.onnx", this graph in whatever folder it is asked for.
    void addGraph(const std::string& fileName, Graph graph);

    /// The next loads or runs of that file, one for each text, throw a ModelRuntimeError with the text.
    void failNextLoads(const std::string& fileName, std::vector<std::string> texts);
    void failNextRuns(const std::string& fileName, std::vector<std::string> texts);

    /// Loads and runs so far, those that failed included.
    [[nodiscard]] int loadCount(const std::string& fileName) const;
    [[nodiscard]] int runCount(const std::string& fileName) const;

    /// Called before each load, on the loading thread. Set before use.
    std::function<void(const std::filesystem::path&)> onLoad;

    [[nodiscard]] std::shared_ptr<ModelGraph> load(const std::filesystem::path& file, int threads) override;

private:
    struct Scripts;
    class LoadedGraph;
    class Run;

    std::shared_ptr<Scripts> scripts;
};

} // namespace tavrin
