// How well the edges of an image carry a quadrilateral, and its corners moved onto these edges.
#pragma once

#include "marked_corners.h"

#include <opencv2/core.hpp>

#include <array>

namespace tarvix {

// How much of each side has an edge of the image along it: 0 to 1. The edge has the same sign along
// the side: bright inside or dark inside.
struct SideSupport {
    std::array<double, 4> sides{};

    [[nodiscard]] double least() const;
    [[nodiscard]] double mean() const;
};

// The gradient of an image, by the channel in which it is strongest.
class EdgeMap {
public:
    // `image` has 8 bits per channel, one channel or three.
    explicit EdgeMap(const cv::Mat& image);

    [[nodiscard]] cv::Size size() const { return m_gradientX.size(); }

    // Corners are clockwise, in pixels of the image.
    //   samples  per side
    [[nodiscard]] SideSupport support(const Quad& corners, int samples) const;

    // The same of one side; the inside is to the right of it, as seen.
    [[nodiscard]] double sideSupport(const cv::Point2d& from, const cv::Point2d& to,
                                     int samples) const;

    // The corners of the straight edges that are strongest within `reach` pixels of the sides. The
    // corners as they are if a side has no edge.
    [[nodiscard]] Quad refined(const Quad& corners, double reach) const;

private:
    // The gradient along the normal at a point; 0 where another direction is stronger, and outside.
    [[nodiscard]] double across(const cv::Point2d& point, const cv::Point2d& normal) const;

    cv::Mat m_gradientX; // grey levels per pixel, floats
    cv::Mat m_gradientY;
};

} // namespace tarvix
