#include "platform/onnx/OnnxModelRuntime.h"

#define ORT_API_MANUAL_INIT
#include <dlfcn.h>
#include <malloc.h>
#include <onnxruntime_cxx_api.h>

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace tavrin {

namespace {

/// The oldest interface that has all the calls used here.
constexpr std::uint32_t oldestInterface = 17;

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& reason) {
    throw ModelRuntimeError(file.string() + ": " + reason);
}

/// Runs `work` and turns whatever the library throws into an error that names `file`.
template <typename Work>
auto translated(const std::filesystem::path& file, Work&& work) {
    try {
        return work();
    } catch (const Ort::Exception& error) {
        fail(file, error.what());
    } catch (const std::bad_alloc&) {
        fail(file, "not enough memory");
    }
}

ElementType elementType(ONNXTensorElementDataType type) {
    switch (type) {
    case ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT:
        return ElementType::float32;
    case ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT16:
        return ElementType::float16;
    case ONNX_TENSOR_ELEMENT_DATA_TYPE_INT32:
        return ElementType::int32;
    case ONNX_TENSOR_ELEMENT_DATA_TYPE_INT64:
        return ElementType::int64;
    case ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT8:
        return ElementType::uint8;
    case ONNX_TENSOR_ELEMENT_DATA_TYPE_INT8:
        return ElementType::int8;
    default:
        return ElementType::other;
    }
}

ONNXTensorElementDataType onnxType(ElementType type) {
    switch (type) {
    case ElementType::float32:
        return ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT;
    case ElementType::float16:
        return ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT16;
    case ElementType::int32:
        return ONNX_TENSOR_ELEMENT_DATA_TYPE_INT32;
    case ElementType::int64:
        return ONNX_TENSOR_ELEMENT_DATA_TYPE_INT64;
    case ElementType::uint8:
        return ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT8;
    case ElementType::int8:
        return ONNX_TENSOR_ELEMENT_DATA_TYPE_INT8;
    case ElementType::other:
        break;
    }
    return ONNX_TENSOR_ELEMENT_DATA_TYPE_UNDEFINED;
}

TensorInfo tensorInfo(std::string name, const Ort::TypeInfo& type) {
    if (type.GetONNXType() != ONNX_TYPE_TENSOR) return {.name = std::move(name)};
    const auto tensor = type.GetTensorTypeAndShapeInfo();
    return {.name = std::move(name), .type = elementType(tensor.GetElementType()), .shape = tensor.GetShape()};
}

class OnnxGraph;

class OnnxRun final : public ModelRun {
public:
    explicit OnnxRun(std::shared_ptr<const OnnxGraph> graph);
    void bindInput(std::size_t index, const void* data, std::size_t bytes,
                   std::span<const std::int64_t> shape) override;
    void bindOutput(std::size_t index, void* data, std::size_t bytes, std::span<const std::int64_t> shape) override;
    void run() override;

private:
    /// Tensors over the caller's memory; the names and pointers in the form the library takes.
    struct Side {
        std::vector<Ort::Value> values;
        std::vector<const char*> names;
        std::vector<OrtValue*> bound;
    };
    Ort::Value tensorOver(const TensorInfo& info, void* data, std::size_t bytes, std::span<const std::int64_t> shape);
    static void place(Side& side, std::size_t index, Ort::Value value);
    static void gather(Side& side, const std::vector<TensorInfo>& declared);

    std::shared_ptr<const OnnxGraph> graph;
    Ort::MemoryInfo memory;
    Ort::RunOptions options;
    Side in, out;
    bool isGathered = false;
};

class OnnxGraph final : public ModelGraph, public std::enable_shared_from_this<OnnxGraph> {
public:
    OnnxGraph(std::shared_ptr<void> keptLibrary, std::filesystem::path path, Ort::Session opened)
        : library(std::move(keptLibrary)), file(std::move(path)), session(std::move(opened)) {
        Ort::AllocatorWithDefaultOptions allocator;
        for (std::size_t i = 0; i < session.GetInputCount(); ++i)
            declaredInputs.push_back(
                tensorInfo(session.GetInputNameAllocated(i, allocator).get(), session.GetInputTypeInfo(i)));
        for (std::size_t i = 0; i < session.GetOutputCount(); ++i)
            declaredOutputs.push_back(
                tensorInfo(session.GetOutputNameAllocated(i, allocator).get(), session.GetOutputTypeInfo(i)));
    }

    [[nodiscard]] const std::vector<TensorInfo>& inputs() const override { return declaredInputs; }
    [[nodiscard]] const std::vector<TensorInfo>& outputs() const override { return declaredOutputs; }
    [[nodiscard]] std::unique_ptr<ModelRun> newRun() const override {
        return std::make_unique<OnnxRun>(shared_from_this());
    }
    [[nodiscard]] const std::filesystem::path& path() const { return file; }
    /// The library's run call is thread-safe though its wrapper does not say so by `const`.
    [[nodiscard]] Ort::Session& onnx() const { return session; }

private:
    std::shared_ptr<void> library;
    std::filesystem::path file;
    mutable Ort::Session session;
    std::vector<TensorInfo> declaredInputs, declaredOutputs;
};

OnnxRun::OnnxRun(std::shared_ptr<const OnnxGraph> of)
    : graph(std::move(of)), memory(Ort::MemoryInfo::CreateCpu(OrtDeviceAllocator, OrtMemTypeDefault)) {
    for (std::size_t i = 0; i < graph->inputs().size(); ++i)
        in.values.emplace_back(nullptr);
    for (std::size_t i = 0; i < graph->outputs().size(); ++i)
        out.values.emplace_back(nullptr);
}

Ort::Value OnnxRun::tensorOver(const TensorInfo& info, void* data, std::size_t bytes,
                               std::span<const std::int64_t> shape) {
    std::size_t wanted = elementSize(info.type);
    for (const std::int64_t dimension : shape)
        wanted *= static_cast<std::size_t>(dimension);
    if (wanted != bytes)
        fail(graph->path(),
             "feature \"" + info.name + "\" takes " + std::to_string(wanted) + " bytes, got " + std::to_string(bytes));
    return translated(graph->path(), [&] {
        return Ort::Value::CreateTensor(memory, data, bytes, shape.data(), shape.size(), onnxType(info.type));
    });
}

void OnnxRun::place(Side& side, std::size_t index, Ort::Value value) {
    side.values.at(index) = std::move(value);
}

void OnnxRun::bindInput(std::size_t index, const void* data, std::size_t bytes, std::span<const std::int64_t> shape) {
    // The library takes inputs as writable memory and only reads them.
    place(in, index, tensorOver(graph->inputs().at(index), const_cast<void*>(data), bytes, shape));
    isGathered = false;
}

void OnnxRun::bindOutput(std::size_t index, void* data, std::size_t bytes, std::span<const std::int64_t> shape) {
    place(out, index, tensorOver(graph->outputs().at(index), data, bytes, shape));
    isGathered = false;
}

void OnnxRun::gather(Side& side, const std::vector<TensorInfo>& declared) {
    side.names.clear();
    side.bound.clear();
    for (std::size_t i = 0; i < declared.size(); ++i) {
        if (!side.values[i]) continue;
        side.names.push_back(declared[i].name.c_str());
        side.bound.push_back(side.values[i]);
    }
}

void OnnxRun::run() {
    if (!isGathered) {
        gather(in, graph->inputs());
        gather(out, graph->outputs());
        isGathered = true;
    }
    translated(graph->path(), [&] {
        Ort::ThrowOnError(Ort::GetApi().Run(graph->onnx(), options, in.names.data(), in.bound.data(), in.bound.size(),
                                            out.names.data(), out.bound.size(), out.bound.data()));
    });
}

std::filesystem::path besideProgram() {
    std::error_code ignored;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
    return program.parent_path().parent_path() / "lib" / "libonnxruntime.so";
}

void* openLibrary(const std::filesystem::path& wanted) {
    std::vector<std::filesystem::path> candidates;
    if (!wanted.empty()) {
        candidates.push_back(wanted);
    } else {
        if (const char* named = std::getenv("TAVRIN_ONNXRUNTIME")) candidates.emplace_back(named);
        candidates.insert(candidates.end(), {besideProgram(), "libonnxruntime.so.1", "libonnxruntime.so"});
    }
    std::string reasons;
    for (const auto& candidate : candidates) {
        if (void* handle = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL)) return handle;
        reasons += "\n  " + std::string(dlerror());
    }
    throw ModelRuntimeError("ONNX Runtime could not be loaded:" + reasons);
}

} // namespace

struct OnnxModelRuntime::Library {
    explicit Library(const std::filesystem::path& wanted) {
        // A run's tensors of some megabytes come from the heap and stay there for the next run. By default each would
        // be fetched from the kernel, page by page, and given back: half of the time of a decoder step.
        mallopt(M_MMAP_THRESHOLD, 32 << 20);
        mallopt(M_TRIM_THRESHOLD, 64 << 20);
        // Never closed: the library's own threads and thread-local data may outlive any moment we could choose.
        void* handle = openLibrary(wanted);
        const auto base = reinterpret_cast<const OrtApiBase* (*)()>(dlsym(handle, "OrtGetApiBase"));
        if (base == nullptr) throw ModelRuntimeError("ONNX Runtime could not be loaded: it has no OrtGetApiBase");
        versionText = base()->GetVersionString();
        const OrtApi* api = nullptr;
        for (std::uint32_t number = ORT_API_VERSION; api == nullptr && number >= oldestInterface; --number)
            api = base()->GetApi(number);
        if (api == nullptr) throw ModelRuntimeError("ONNX Runtime " + versionText + " is too old");
        Ort::InitApi(api);
        environment.emplace(ORT_LOGGING_LEVEL_ERROR, "tavrin", &Library::dropLog, nullptr);
    }

    /// Every failure that matters comes back as an error with its text; the library's own lines would repeat it.
    static void ORT_API_CALL dropLog(void*, OrtLoggingLevel, const char*, const char*, const char*, const char*) {}

    std::string versionText;
    std::optional<Ort::Env> environment;
};

OnnxModelRuntime::OnnxModelRuntime(const std::filesystem::path& path) : library(std::make_shared<Library>(path)) {}

OnnxModelRuntime::~OnnxModelRuntime() = default;

std::string OnnxModelRuntime::version() const {
    return library->versionText;
}

std::shared_ptr<ModelGraph> OnnxModelRuntime::load(const std::filesystem::path& file, int threads) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) fail(file, "no such file");
    return translated(file, [&] {
        Ort::SessionOptions options;
        options.SetIntraOpNumThreads(threads);
        options.SetInterOpNumThreads(1);
        options.SetExecutionMode(ORT_SEQUENTIAL);
        options.SetGraphOptimizationLevel(ORT_ENABLE_ALL);
        options.DisableCpuMemArena();
        // A pattern puts all of a run's intermediate tensors into one block. Without an arena that block comes fresh
        // from the kernel at every run, page by page: a decoder step then takes almost twice as long.
        options.DisableMemPattern();
        // Between two operators a worker waits awake, for half a millisecond at most: falling asleep and being woken
        // costs more than many of a decoder's operators. An idle program is asleep.
        options.AddConfigEntry("session.intra_op.allow_spinning", "1");
        options.AddConfigEntry("session.intra_op.spin_duration_us", "500");
        options.AddConfigEntry("session.inter_op.allow_spinning", "0");
        Ort::Session session(*library->environment, file.c_str(), options);
        return std::make_shared<OnnxGraph>(library, file, std::move(session));
    });
}

} // namespace tavrin
