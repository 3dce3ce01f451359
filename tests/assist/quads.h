// Rectangles in space as a camera sees them, for the tests of corrections.
#pragma once

#include "assist/marked_corners.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <numbers>
#include <vector>

namespace test {

// How a camera sees a rectangle. Angles are degrees, about the camera's axes: x to the right, y
// down, z into the scene.
struct View {
    cv::Size image{640, 480};
    double focalMm = 35;                       // 35-mm equivalent
    double aboutX = 0, aboutY = 0, aboutZ = 0; // the rectangle is turned about z, then y, then x
    cv::Size2d rectangle{3, 2};                // any unit
    cv::Point3d centre{0, 0, 6};               // of the rectangle, in the same unit
};

// The corners of the rectangle as seen: top left, top right, bottom right, bottom left of it.
inline tarvix::Quad seen(const View& view) {
    const double focalPx = std::max(view.image.width, view.image.height) * view.focalMm / 36;
    const auto turned = [](double degrees, const cv::Vec3d& axis) {
        cv::Matx33d rotation;
        cv::Rodrigues(axis * (degrees * std::numbers::pi / 180), rotation);
        return rotation;
    };
    const cv::Matx33d rotation = turned(view.aboutX, {1, 0, 0}) * turned(view.aboutY, {0, 1, 0}) *
                                 turned(view.aboutZ, {0, 0, 1});
    const double x = view.rectangle.width / 2, y = view.rectangle.height / 2;
    tarvix::Quad corners;
    std::size_t i = 0;
    for (const cv::Vec3d& p : {cv::Vec3d(-x, -y, 0), {x, -y, 0}, {x, y, 0}, {-x, y, 0}}) {
        const cv::Vec3d q = rotation * p + cv::Vec3d(view.centre.x, view.centre.y, view.centre.z);
        corners[i++] = {view.image.width * 0.5 + focalPx * q[0] / q[2],
                        view.image.height * 0.5 + focalPx * q[1] / q[2]};
    }
    return corners;
}

// All 24 orders of four corners.
inline std::vector<tarvix::Quad> allOrders(const tarvix::Quad& corners) {
    std::vector<tarvix::Quad> orders;
    std::array<std::size_t, 4> index{0, 1, 2, 3};
    do {
        orders.push_back(
            {corners[index[0]], corners[index[1]], corners[index[2]], corners[index[3]]});
    } while (std::next_permutation(index.begin(), index.end()));
    return orders;
}

} // namespace test
