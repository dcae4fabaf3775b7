#pragma once

#include "speech/TranscriptionTimings.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tavrin {

/// Seconds that `work` takes.
template <typename Work>
[[nodiscard]] double secondsOf(Work&& work) {
    const double begin = steadySeconds();
    work();
    return steadySeconds() - begin;
}

/// The middle one of `values`, which are not none.
[[nodiscard]] inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

/// Median seconds of `count` times `work`.
template <typename Work>
[[nodiscard]] double medianSeconds(int count, Work&& work) {
    std::vector<double> seconds(static_cast<std::size_t>(count));
    for (double& one : seconds)
        one = secondsOf(work);
    return median(std::move(seconds));
}

} // namespace tavrin
