#include "bench/LineFit.h"

#include <gtest/gtest.h>

#include <array>

namespace tavrin {
namespace {

TEST(LineFit, finds_the_line_that_points_lie_on) {
    const std::array<Point, 4> points{{{1, 2.5}, {2, 3}, {10, 7}, {1000, 502}}};
    const Line line = fitLine(points);
    EXPECT_NEAR(line.slope, 0.5, 1e-9);
    EXPECT_NEAR(line.offset, 2, 1e-9);
    EXPECT_NEAR(line.deviation({1000, 502}), 0, 1e-9);
    EXPECT_NEAR(line.deviation({1000, 251}), -0.5, 1e-9);
}

TEST(LineFit, growth_faster_than_a_line_shows) {
    std::array<Point, 6> points{{{30, 0}, {60, 0}, {300, 0}, {600, 0}, {1800, 0}, {3600, 0}}};
    for (auto& [x, y] : points)
        y = x * x;
    const Line line = fitLine(points);
    double largest = 0;
    for (const auto& point : points)
        largest = std::max(largest, std::abs(line.deviation(point)));
    EXPECT_GT(largest, 0.25);
}

} // namespace
} // namespace tavrin
