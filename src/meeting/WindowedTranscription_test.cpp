#include "meeting/WindowedTranscription.h"

#include <gmock/gmock.h>

#include <utility>
#include <vector>

namespace tavrin {
namespace {

using Window = std::pair<std::size_t, std::size_t>; // first sample and one behind the last

TEST(WindowedTranscription, windows_are_25_s_and_begin_3_s_before_the_end_of_the_last_one) {
    const std::vector<std::pair<std::size_t, std::vector<Window>>> cases{
        {0, {{0, 0}}},
        {400'000, {{0, 400'000}}},
        {400'001, {{0, 400'000}, {352'000, 400'001}}},
        {752'000, {{0, 400'000}, {352'000, 752'000}}},
        {752'001, {{0, 400'000}, {352'000, 752'000}, {704'000, 752'001}}},
    };
    for (const auto& [size, expected] : cases) {
        const std::vector<float> samples(size);
        std::vector<Window> windows;
        transcribeInWindows(samples, [&](std::span<const float> window) {
            const auto begin = static_cast<std::size_t>(window.data() - samples.data());
            windows.emplace_back(begin, begin + window.size());
            return "";
        });
        EXPECT_EQ(windows, expected) << size;
    }
}

} // namespace
} // namespace tavrin
