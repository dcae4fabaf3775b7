#include "bench/LineFit.h"

namespace tavrin {

double Line::deviation(const Point& point) const noexcept {
    const double expected = offset + slope * point.x;
    return (point.y - expected) / expected;
}

Line fitLine(std::span<const Point> points) {
    double weights = 0, meanX = 0, meanY = 0;
    for (const auto& [x, y] : points) {
        const double weight = 1 / (y * y);
        weights += weight;
        meanX += weight * x;
        meanY += weight * y;
    }
    meanX /= weights;
    meanY /= weights;
    double covariance = 0, variance = 0;
    for (const auto& [x, y] : points) {
        const double weight = 1 / (y * y);
        covariance += weight * (x - meanX) * (y - meanY);
        variance += weight * (x - meanX) * (x - meanX);
    }
    const double slope = covariance / variance;
    return {.offset = meanY - slope * meanX, .slope = slope};
}

} // namespace tavrin
