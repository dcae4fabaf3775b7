#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

enum class ElementType : std::uint8_t { float32, float16, int32, int64, uint8, int8, other };

/// Bytes of one element; 0 for `other`.
std::size_t elementSize(ElementType type) noexcept;

/// A declared input or output. A dimension of -1 is free.
struct TensorInfo {
    std::string name;
    ElementType type = ElementType::other;
    std::vector<std::int64_t> shape;
};

/// Why a graph could not be loaded or run. The text names the file and the reason.
class ModelRuntimeError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// One caller's way through a graph: tensors are bound once to the caller's memory and used by every run.
/// Bound memory must outlive the binding. Not for use from two threads at once; two runs of one graph may go in
/// parallel.
class ModelRun {
public:
    virtual ~ModelRun() = default;
    /// Binds the feature `name` (an index into `ModelGraph::inputs`) to `data` of `shape`, row-major. The graph only
    /// reads `data`. Throws ModelRuntimeError if `bytes` is not what shape and declared type ask for.
    virtual void bindInput(std::size_t index, const void* data, std::size_t bytes,
                           std::span<const std::int64_t> shape) = 0;
    virtual void bindOutput(std::size_t index, void* data, std::size_t bytes, std::span<const std::int64_t> shape) = 0;
    /// Computes all bound outputs. Allocates nothing on our side. Blocks. Throws ModelRuntimeError.
    virtual void run() = 0;
};

/// A loaded graph. Immutable; may be used from several threads.
class ModelGraph {
public:
    virtual ~ModelGraph() = default;
    [[nodiscard]] virtual const std::vector<TensorInfo>& inputs() const = 0;
    [[nodiscard]] virtual const std::vector<TensorInfo>& outputs() const = 0;
    [[nodiscard]] virtual std::unique_ptr<ModelRun> newRun() const = 0;
};

/// Runs neural networks. Thread-safe.
class ModelRuntime {
public:
    virtual ~ModelRuntime() = default;
    /// Loads a graph for runs that use `threads` processors each. Blocks. Throws ModelRuntimeError.
    [[nodiscard]] virtual std::shared_ptr<ModelGraph> load(const std::filesystem::path& file, int threads) = 0;
};

} // namespace tavrin
