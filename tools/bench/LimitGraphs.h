#pragma once

#include "platform/ModelRuntime.h"

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tavrin {

/// What this machine can do at best: the encoder's products as plain graphs of one operator each, run on inputs of the
/// true sizes. Not thread-safe.
class LimitGraphs final {
public:
    /// Loads the graphs that `folder`/limits.tsv lists, for `threads` processors.
    /// Throws ModelRuntimeError, or std::runtime_error if the list cannot be read.
    LimitGraphs(ModelRuntime& runtime, const std::filesystem::path& folder, int threads);
    ~LimitGraphs();

    /// Runs every graph some times.
    void measure();

    /// The best way found to compute one part of a window.
    struct Part {
        std::string name;
        /// Runs per window, and what all of them take together.
        int count = 0;
        double seconds = 0;
        double operations = 0;
    };
    /// Medians over all that was measured.
    [[nodiscard]] std::vector<Part> parts() const;
    [[nodiscard]] double windowSeconds() const;

private:
    class Product;
    struct Way {
        std::string part, file;
        int count = 0;
        double operations = 0;
    };
    std::vector<Way> ways;
    std::map<std::string, std::unique_ptr<Product>> products;
};

} // namespace tavrin
