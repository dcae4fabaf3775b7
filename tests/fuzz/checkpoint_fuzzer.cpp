#include "meeting/TranscriptCheckpoint.h"

#include <cstddef>
#include <cstdint>

/// Any bytes as a checkpoint: refused, or one that is the same after it was written and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tavrin::TranscriptCheckpoint;
    const auto checkpoint = TranscriptCheckpoint::parse({reinterpret_cast<const char*>(data), size});
    if (checkpoint && TranscriptCheckpoint::parse(checkpoint->json()) != checkpoint) __builtin_trap();
    return 0;
}

/// Half of the time mutates a good text, so that the inner checks are reached.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t mostSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t mostSize,
                                               unsigned seed) {
    static const std::string good = tavrin::TranscriptCheckpoint{
        .meetingID = "A",
        .segments = {{"Them", "x", tavrin::Date(1.5), 1, 2}, {"Me", "y", tavrin::Date(2), {}, {}}},
        .meTranscribedSamples = 1,
        .themTranscribedSamples = 2,
        .themSpeakerCustomNames = {
            {0, "n"}, {1, "m"}}}.json();
    if (seed % 2 == 0 && good.size() <= mostSize) {
        good.copy(reinterpret_cast<char*>(data), good.size());
        size = good.size();
    }
    return LLVMFuzzerMutate(data, size, mostSize);
}
