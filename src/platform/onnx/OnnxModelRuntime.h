#pragma once

#include "platform/ModelRuntime.h"

#include <filesystem>
#include <memory>

namespace tavrin {

/// `ModelRuntime` over ONNX Runtime, whose library is opened at run time so that one program runs on several versions.
///
/// Graphs run on the processor, `threads` workers each, which stay awake for half a millisecond after a run and then
/// sleep. Memory arenas are off; what a run computed in stays in the program's heap for the next one, for which the
/// constructor raises the allocator's thresholds for the whole process.
class OnnxModelRuntime final : public ModelRuntime {
public:
    /// Opens `library`, or, if it is empty, the first of: the file that the environment names in TAVRIN_ONNXRUNTIME,
    /// "../lib/libonnxruntime.so" beside the program, the system's "libonnxruntime.so.1" and "libonnxruntime.so".
    /// Throws ModelRuntimeError if none opens or it is too old.
    explicit OnnxModelRuntime(const std::filesystem::path& library = {});
    ~OnnxModelRuntime() override;

    [[nodiscard]] std::shared_ptr<ModelGraph> load(const std::filesystem::path& file, int threads) override;
    /// The library's version, e.g. "1.29.0".
    [[nodiscard]] std::string version() const;

private:
    struct Library;
    std::shared_ptr<Library> library;
};

} // namespace tavrin
