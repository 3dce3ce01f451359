// How large the images of a benchmark are.
#pragma once

#include <opencv2/core/types.hpp>

#include <array>
#include <cmath>
#include <cstdlib>

namespace bench {

// The usual size, or that of as many megapixels as TARVIX_BENCH_MP says, 4:3.
inline cv::Size sizeOr(cv::Size usual) {
    const char* megapixels = std::getenv("TARVIX_BENCH_MP");
    if (megapixels == nullptr) {
        return usual;
    }
    const double pixels = std::atof(megapixels) * 1e6;
    return {cvRound(std::sqrt(pixels * 4 / 3)), cvRound(std::sqrt(pixels * 3 / 4))};
}

// Four points, x and y in turn, of an image of the size `usual`, in one of the size `size`.
inline std::array<double, 8> inSize(std::array<double, 8> points, cv::Size usual, cv::Size size) {
    for (std::size_t i = 0; i < points.size(); i += 2) {
        points[i] *= static_cast<double>(size.width) / usual.width;
        points[i + 1] *= static_cast<double>(size.height) / usual.height;
    }
    return points;
}

} // namespace bench
