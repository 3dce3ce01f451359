// Boards as a known camera sees them: corners that are projected, with seeded noise on them.
#pragma once

#include "assist/metric_stereo.h"
#include "tests/calib/views.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <cstdint>
#include <vector>

namespace test {

struct Pose {
    cv::Vec3d rotation;    // Rodrigues
    cv::Vec3d translation; // in squares
};

// Poses in the unit of a square that tilt the board every way and bring it all over the image.
inline std::vector<Pose> variedPoses(int count, std::uint64_t seed = 3) {
    cv::RNG rng(seed);
    std::vector<Pose> poses;
    for (int i = 0; i < count; ++i) {
        const double z = rng.uniform(11.0, 17.0);
        poses.push_back({{rng.uniform(-0.6, 0.6), rng.uniform(-0.6, 0.6), rng.uniform(-0.3, 0.3)},
                         {-2.5 + (i % 3 - 1) * 0.27 * z, -4 + (i / 3 % 3 - 1) * 0.16 * z, z}});
    }
    return poses;
}

// Corners of the board, Gaussian noise of `sigma` pixels on each coordinate.
inline tarvix::SeenBoard seen(const Pose& pose, const KnownCamera& camera, float square,
                              double sigma, cv::RNG& rng) {
    tarvix::SeenBoard board{camera.size, {}};
    cv::projectPoints(tarvix::boardPoints(boardPattern, square), pose.rotation,
                      pose.translation * square, camera.matrix, camera.distortion, board.corners);
    for (cv::Point2f& corner : board.corners) {
        corner.x += static_cast<float>(rng.gaussian(sigma));
        corner.y += static_cast<float>(rng.gaussian(sigma));
    }
    return board;
}

inline std::vector<tarvix::SeenBoard> seenViews(const std::vector<Pose>& poses, double sigma,
                                                std::uint64_t seed,
                                                const KnownCamera& camera = {}) {
    cv::RNG rng(seed);
    std::vector<tarvix::SeenBoard> views;
    for (const Pose& pose : poses) {
        views.push_back(seen(pose, camera, 1.0F, sigma, rng));
    }
    return views;
}

} // namespace test
