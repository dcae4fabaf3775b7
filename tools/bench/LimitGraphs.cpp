#include "bench/LimitGraphs.h"

#include "bench/Timing.h"

#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace tavrin {

namespace {

constexpr int runsPerMeasurement = 2;

std::size_t elementCount(const TensorInfo& info) {
    std::size_t count = 1;
    for (const std::int64_t size : info.shape)
        count *= static_cast<std::size_t>(size);
    return count;
}

} // namespace

/// One graph with its memory.
class LimitGraphs::Product final {
public:
    explicit Product(const std::shared_ptr<ModelGraph>& loaded) : graph(loaded), run(graph->newRun()) {
        for (std::size_t i = 0; i < graph->inputs().size(); ++i) {
            const auto& info = graph->inputs()[i];
            auto& bytes = memory.emplace_back(elementCount(info) * elementSize(info.type));
            fill(bytes, info.type);
            run->bindInput(i, bytes.data(), bytes.size(), info.shape);
        }
        for (std::size_t i = 0; i < graph->outputs().size(); ++i) {
            const auto& info = graph->outputs()[i];
            auto& bytes = memory.emplace_back(elementCount(info) * elementSize(info.type));
            run->bindOutput(i, bytes.data(), bytes.size(), info.shape);
        }
        run->run();
    }

    void measure() {
        for (int i = 0; i < runsPerMeasurement; ++i)
            seconds.push_back(secondsOf([&] { run->run(); }));
    }
    [[nodiscard]] double medianTime() const { return median(seconds); }

private:
    /// Ordinary numbers: zeros and denormal ones take other times.
    static void fill(std::vector<std::byte>& bytes, ElementType type) {
        std::minstd_rand generator;
        if (type != ElementType::float32) {
            for (auto& byte : bytes)
                byte = static_cast<std::byte>(generator() >> 8);
            return;
        }
        auto* const values = reinterpret_cast<float*>(bytes.data());
        for (std::size_t i = 0; i < bytes.size() / sizeof(float); ++i)
            values[i] = static_cast<float>(generator() % 2001) / 1000.0F - 1.0F;
    }

    std::shared_ptr<ModelGraph> graph;
    std::vector<std::vector<std::byte>> memory;
    std::unique_ptr<ModelRun> run;
    std::vector<double> seconds;
};

LimitGraphs::LimitGraphs(ModelRuntime& runtime, const std::filesystem::path& folder, int threads) {
    std::ifstream list(folder / "limits.tsv");
    for (std::string line; std::getline(list, line);) {
        Way way;
        std::istringstream fields(line);
        std::getline(fields, way.part, '\t');
        std::getline(fields, way.file, '\t');
        if (!(fields >> way.count >> way.operations))
            throw std::runtime_error((folder / "limits.tsv").string() + ": " + line);
        auto& product = products[way.file];
        if (!product) product = std::make_unique<Product>(runtime.load(folder / way.file, threads));
        ways.push_back(std::move(way));
    }
    if (ways.empty()) throw std::runtime_error((folder / "limits.tsv").string() + ": no graphs");
}

LimitGraphs::~LimitGraphs() = default;

void LimitGraphs::measure() {
    for (const auto& [file, product] : products)
        product->measure();
}

std::vector<LimitGraphs::Part> LimitGraphs::parts() const {
    std::vector<Part> best;
    for (const auto& way : ways) {
        const Part part{way.part, way.count, way.count * products.at(way.file)->medianTime(),
                        way.count * way.operations};
        if (best.empty() || best.back().name != part.name)
            best.push_back(part);
        else if (part.seconds < best.back().seconds)
            best.back() = part;
    }
    return best;
}

double LimitGraphs::windowSeconds() const {
    double sum = 0;
    for (const auto& part : parts())
        sum += part.seconds;
    return sum;
}

} // namespace tavrin
