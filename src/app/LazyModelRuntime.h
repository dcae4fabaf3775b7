#pragma once

#include "platform/ModelRuntime.h"

#include <functional>
#include <memory>
#include <mutex>

namespace tavrin {

/// A model runtime that is opened with the first load, on the loading thread: the program starts without it, and says
/// what is wrong with it where a model is wanted. Thread-safe.
class LazyModelRuntime final : public ModelRuntime {
public:
    using Opening = std::function<std::unique_ptr<ModelRuntime>()>;

    /// `open` may throw ModelRuntimeError; it is asked again at the next load then.
    explicit LazyModelRuntime(Opening open) : openRuntime(std::move(open)) {}

    [[nodiscard]] std::shared_ptr<ModelGraph> load(const std::filesystem::path& file, int threads) override {
        return runtime().load(file, threads);
    }

private:
    ModelRuntime& runtime() {
        const std::scoped_lock lock(mutex);
        if (!opened) opened = openRuntime();
        return *opened;
    }

    const Opening openRuntime;
    std::mutex mutex;
    std::unique_ptr<ModelRuntime> opened;
};

} // namespace tavrin
