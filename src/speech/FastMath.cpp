#include "speech/FastMath.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>

namespace tavrin {

namespace {

/// Independent partial results, so that the compiler can use vector registers without reordering one sum.
constexpr std::size_t lanes = 16;

/// e^x for x in [-87, 0]: 2^k * p(f) with the Taylor polynomial of 2^f on [-0.5, 0.5].
inline float expOf(float x) {
    const float scaled = std::max(x, -87.0F) * 1.44269504F;
    const float rounded = static_cast<float>(static_cast<std::int32_t>(scaled - 0.5F));
    const float f = (scaled - rounded) * 0.693147181F;
    const float p =
        1.0F +
        f * (1.0F + f * (0.5F + f * (0.166666667F + f * (0.0416666667F + f * (0.00833333333F + f * 0.00138888889F)))));
    const auto power = std::bit_cast<float>((static_cast<std::int32_t>(rounded) + 127) << 23);
    return x < -87.0F ? 0.0F : p * power;
}

} // namespace

float maximum(std::span<const float> values) noexcept {
    std::array<float, lanes> best;
    best.fill(-std::numeric_limits<float>::infinity());
    std::size_t i = 0;
    for (; i + lanes <= values.size(); i += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            best[lane] = values[i + lane] > best[lane] ? values[i + lane] : best[lane];
    float result = *std::ranges::max_element(best);
    for (; i < values.size(); ++i)
        result = values[i] > result ? values[i] : result;
    return result;
}

std::size_t indexOfMaximum(std::span<const float> values) noexcept {
    const float largest = maximum(values);
    const auto found = std::ranges::find(values, largest);
    return found == values.end() ? 0 : static_cast<std::size_t>(found - values.begin());
}

float sumOfExp(std::span<const float> values, float shift) noexcept {
    std::array<float, lanes> sums{};
    std::size_t i = 0;
    for (; i + lanes <= values.size(); i += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            sums[lane] += expOf(values[i + lane] - shift);
    float result = 0;
    for (; i < values.size(); ++i)
        result += expOf(values[i] - shift);
    for (const float sum : sums)
        result += sum;
    return result;
}

} // namespace tavrin
