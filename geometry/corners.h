// Four points of an image, as the operations and the exports of this family take them.
#pragma once

#include <opencv2/core/types.hpp>

#include <array>
#include <cstddef>

namespace tarvix {

// Four points in pixels.
using Corners = std::array<cv::Point2d, 4>;

// The same in single precision.
using CornersF = std::array<cv::Point2f, 4>;

// Reads 8 doubles x0, y0, ..., x3, y3.
inline Corners cornersFromArray(const double* xy) {
    return {cv::Point2d(xy[0], xy[1]), cv::Point2d(xy[2], xy[3]), cv::Point2d(xy[4], xy[5]),
            cv::Point2d(xy[6], xy[7])};
}

// Reads the same 8 doubles, each narrowed to single precision.
inline CornersF narrowedCornersFromArray(const double* xy) {
    const auto point = [xy](std::size_t i) {
        return cv::Point2f(static_cast<float>(xy[2 * i]), static_cast<float>(xy[2 * i + 1]));
    };
    return {point(0), point(1), point(2), point(3)};
}

} // namespace tarvix
