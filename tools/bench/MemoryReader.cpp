#include "bench/MemoryReader.h"

#include "bench/Timing.h"

#include <atomic>
#include <numeric>
#include <span>
#include <thread>

namespace tavrin {

namespace {

constexpr int passes = 6;

} // namespace

MemoryReader::MemoryReader(std::size_t bytes, int threads)
    : buffer(bytes / sizeof(std::uint64_t)), sums(static_cast<std::size_t>(threads)) {
    std::iota(buffer.begin(), buffer.end(), std::uint64_t{1});
}

void MemoryReader::readPart(std::size_t part) {
    const std::size_t length = buffer.size() / sums.size();
    const auto own = std::span<const std::uint64_t>(buffer).subspan(part * length, length);
    sums[part] += std::reduce(own.begin(), own.end());
}

double MemoryReader::measure() {
    std::atomic<std::size_t> ready = 0;
    const auto read = [&](std::size_t part) {
        ++ready;
        while (ready < sums.size()) {
        }
        for (int i = 0; i < passes; ++i)
            readPart(part);
    };
    double begin = 0;
    {
        std::vector<std::jthread> others;
        for (std::size_t part = 1; part < sums.size(); ++part)
            others.emplace_back(read, part);
        while (ready + 1 < sums.size()) {
        }
        begin = steadySeconds();
        read(0);
    }
    const double seconds = steadySeconds() - begin;
    measured.push_back(passes * static_cast<double>(buffer.size() * sizeof(std::uint64_t)) / seconds);
    return measured.back();
}

double MemoryReader::bytesPerSecond() const {
    return median(measured);
}

} // namespace tavrin
