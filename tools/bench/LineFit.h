#pragma once

#include <span>

namespace tavrin {

struct Point {
    double x = 0, y = 0;
};

/// y = offset + slope * x.
struct Line {
    double offset = 0, slope = 0;

    /// How far the point is above the line, as a share of the line's value there.
    [[nodiscard]] double deviation(const Point& point) const noexcept;
};

/// The line that keeps the squares of the relative distances smallest, so that short lengths count like long ones.
/// Takes two points or more, with different x and y above 0.
[[nodiscard]] Line fitLine(std::span<const Point> points);

} // namespace tavrin
