#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace tavrin {

/// Signed 16-bit samples of a file without a header, 16 kHz mono. Throws std::runtime_error.
std::vector<std::int16_t> readSamples(const std::filesystem::path& file);

/// How a recording of a lane compares with what was played into it.
struct LaneComparison {
    std::size_t offset = 0; ///< sample of the recording at which the played sound begins
    std::size_t playedLoud = 0;
    std::size_t lost = 0; ///< samples of played sound that are not in the recording
};

/// Compares levels in steps of 10 ms: sound counts as lost where the recording is 20 dB below what was played, 30 ms
/// around. The recording is at least as long as what was played.
LaneComparison compareLane(std::span<const std::int16_t> played, std::span<const std::int16_t> recorded);

/// The samples at which clicks begin: the first above a tenth of full scale, after a second without one.
std::vector<std::size_t> findClicks(std::span<const std::int16_t> samples);

} // namespace tavrin
