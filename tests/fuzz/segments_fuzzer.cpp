#include "meeting/TranscriptCheckpoint.h"

#include <cstddef>
#include <cstdint>

/// Any bytes as a log of segments: what is found in it survives writing and reading, and a line added after a torn one
/// is found as well.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tavrin;
    const std::string log(reinterpret_cast<const char*>(data), size);
    auto segments = parseSegmentsLog(log);
    if (parseSegmentsLog(segmentsLog(segments)) != segments) __builtin_trap();
    segments.push_back({.speakerLabel = "Me", .text = "added", .date = Date(1)});
    if (parseSegmentsLog(log + "\n" + segmentsLog(std::span(segments).last(1))) != segments) __builtin_trap();
    return 0;
}

/// Half of the time mutates a good text, so that the inner checks are reached.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t mostSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t mostSize,
                                               unsigned seed) {
    static const std::string good = tavrin::segmentsLog(std::vector<tavrin::PersistedTranscriptSegment>{
        {"Them", "x", tavrin::Date(1.5), 1, 2}, {"Me", "y", tavrin::Date(2), {}, {}}});
    if (seed % 2 == 0 && good.size() <= mostSize) {
        good.copy(reinterpret_cast<char*>(data), good.size());
        size = good.size();
    }
    return LLVMFuzzerMutate(data, size, mostSize);
}
