// Chessboard views for the calibration tests: OpenCV's photographs, and rendered boards seen by a
// camera that is known.
#pragma once

#include "tests/support/images.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace test {

inline const cv::Size boardPattern(9, 6); // inner corners of every board here

// left01.jpg, right01.jpg ...: the pair of this number (1 to 14; there is no 10).
inline std::string pairPhoto(const std::string& side, int number) {
    return photoPath(side + (number < 10 ? "0" : "") + std::to_string(number) + ".jpg");
}

inline std::vector<std::string> leftPhotos(int count) {
    std::vector<std::string> files;
    for (int n = 1; static_cast<int>(files.size()) < count; ++n) {
        if (n != 10) {
            files.push_back(pairPhoto("left", n));
        }
    }
    return files;
}

inline std::vector<std::string> pairPhotos(int pairs) {
    std::vector<std::string> files;
    for (int n = 1; static_cast<int>(files.size()) < 2 * pairs; ++n) {
        if (n != 10) {
            files.push_back(pairPhoto("left", n));
            files.push_back(pairPhoto("right", n));
        }
    }
    return files;
}

struct KnownCamera {
    cv::Mat matrix = (cv::Mat_<double>(3, 3) << 620, 0, 331, 0, 615, 236, 0, 0, 1);
    cv::Mat distortion = (cv::Mat_<double>(1, 5) << -0.28, 0.09, 0.0008, -0.0006, 0);
    cv::Size size{640, 480};
};

// A board of 10 x 7 squares with a white margin, rendered by following each of 3 x 3 rays per pixel
// through the lens to the board's plane; Gaussian noise of 2 grey levels.
class BoardRenderer {
public:
    explicit BoardRenderer(const KnownCamera& camera) : m_size(camera.size) {
        std::vector<cv::Point2f> pixels;
        for (int y = 0; y < m_size.height * samples; ++y) {
            for (int x = 0; x < m_size.width * samples; ++x) {
                pixels.emplace_back((static_cast<float>(x) + 0.5F) / samples - 0.5F,
                                    (static_cast<float>(y) + 0.5F) / samples - 0.5F);
            }
        }
        cv::undistortPoints(pixels, m_rays, camera.matrix, camera.distortion);
    }

    // rotation and translation take board coordinates (unit: one square, origin at the first inner
    // corner) into the camera's frame.
    [[nodiscard]] cv::Mat view(const cv::Vec3d& rotation, const cv::Vec3d& translation,
                               std::uint64_t seed) const {
        cv::Matx33d r;
        cv::Rodrigues(rotation, r);
        const cv::Vec3d normal(r(0, 2), r(1, 2), r(2, 2));
        const double distance = normal.dot(translation);
        cv::Mat fine(m_size.height * samples, m_size.width * samples, CV_8UC1);
        for (int y = 0; y < fine.rows; ++y) {
            for (int x = 0; x < fine.cols; ++x) {
                const cv::Point2f& ray =
                    m_rays[static_cast<std::size_t>(y) * static_cast<std::size_t>(fine.cols) +
                           static_cast<std::size_t>(x)];
                const cv::Vec3d direction(ray.x, ray.y, 1);
                const cv::Vec3d onBoard =
                    r.t() * (direction * (distance / normal.dot(direction)) - translation);
                fine.at<unsigned char>(y, x) = brightness(onBoard[0], onBoard[1]);
            }
        }
        cv::Mat image;
        cv::resize(fine, image, m_size, 0, 0, cv::INTER_AREA);
        cv::RNG rng(seed);
        cv::Mat noise(m_size, CV_16SC1);
        rng.fill(noise, cv::RNG::NORMAL, 0, 2);
        cv::add(image, noise, image, cv::noArray(), CV_8U);
        return image;
    }

private:
    static constexpr int samples = 3;

    static unsigned char brightness(double x, double y) {
        if (x < -2 || y < -2 || x > 10 || y > 7) {
            return 90; // the wall
        }
        if (x < -1 || y < -1 || x > 9 || y > 6) {
            return 225; // the margin
        }
        const int square = static_cast<int>(std::floor(x)) + static_cast<int>(std::floor(y));
        return square % 2 == 0 ? 40 : 225;
    }

    cv::Size m_size;
    std::vector<cv::Point2f> m_rays;
};

// Twelve poses that tilt the board every way and bring it into the corners. Without the views in
// which the installed OpenCV finds no board: 4.6 finds all twelve, 4.10 all but one.
inline std::vector<cv::Mat> renderedViews(const KnownCamera& camera) {
    const BoardRenderer renderer(camera);
    std::vector<cv::Mat> views;
    cv::RNG rng(17);
    for (int i = 0; i < 12; ++i) {
        const cv::Vec3d rotation(rng.uniform(-0.5, 0.5), rng.uniform(-0.5, 0.5),
                                 rng.uniform(-0.2, 0.2));
        const cv::Vec3d translation(-4 + (i % 3 - 1) * 1.6, -2.5 + (i / 3 % 2 == 0 ? -0.9 : 0.9),
                                    rng.uniform(13.0, 16.0));
        cv::Mat view = renderer.view(rotation, translation, static_cast<std::uint64_t>(i) + 1);
        std::vector<cv::Point2f> corners;
        if (cv::findChessboardCorners(view, boardPattern, corners,
                                      cv::CALIB_CB_ADAPTIVE_THRESH |
                                          cv::CALIB_CB_NORMALIZE_IMAGE)) {
            views.push_back(std::move(view));
        }
    }
    return views;
}

} // namespace test
